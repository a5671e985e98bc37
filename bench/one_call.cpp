// What scripts/size looks at: a program that made one call, and waits.
#include <ostrelApi/OstrelService.h>

#include <cstdio>

int main()
{
    ostrelApi::OstrelService("web").getCAList();
    std::puts("ready");
    std::fflush(stdout);
    std::getchar();
}
