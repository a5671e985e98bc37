// The same as one_call.cpp without the call and without the library.
#include <cstdio>

int main()
{
    std::puts("ready");
    std::fflush(stdout);
    std::getchar();
}
