struct Unguarded {
};
