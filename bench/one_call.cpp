// A program that makes one call and waits, for scripts/size.
#include <ostrelApi/OstrelService.h>

#include <cstdio>

int main()
{
    ostrelApi::OstrelService("web").getCAList();
    std::puts("ready");
    std::fflush(stdout);
    std::getchar();
}
