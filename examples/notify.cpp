// Notifies the daemon that the network or the clock has changed.
//
//     notify network|time

#include <ostrelApi/OstrelService.h>

#include <iostream>

int main(int argc, char* argv[])
{
    try {
        const std::string what = argc == 2 ? argv[1] : "";
        if (what == "network") {
            ostrelApi::OstrelService::notifyNetwork();
        } else if (what == "time") {
            ostrelApi::OstrelService::notifyTime();
        } else {
            std::cerr << "usage: notify network|time\n";
            return 2;
        }
    } catch (const std::exception& failure) {
        std::cerr << "notify: " << failure.what() << '\n';
        return 1;
    }
}
