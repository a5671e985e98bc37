// Built twice, with another width of time each.
void same(int);
void sinceThen(Time);

void same(int) {}
void sinceThen(Time) {}
