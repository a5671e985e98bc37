// Built twice, with a different width of time_t each time.
void same(int);
void sinceThen(Time);

void same(int) {}
void sinceThen(Time) {}
