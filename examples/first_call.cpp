#include <ostrelApi/OstrelService.h>

#include <iostream>

int main()
{
    try {
        ostrelApi::OstrelService web("web");
        std::cout << web.getServiceName() << ": " << (web.isServiceRunning() ? "running" : "off")
                  << ", " << web.getCAList().size() << " CAs\n";
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
