#pragma once

// A call to the daemon by hand: the look-ups and the system calls of
// OstrelService::sendCommandToServer(), in its order.

#include <string>

namespace bench
{

struct RawPipes {
    RawPipes(const std::string& base, const char* sharedGroup)
        : lock(base + ".lock"), in(base + ".in"), out(base + ".out"), group(sharedGroup)
    {
    }

    std::string lock;
    std::string in;
    std::string out;
    const char* group;
};

/// Sends the fields behind user and pid, and returns the reply's payload.
std::string exchangeByHand(const RawPipes& pipes, const char* fields);

} // namespace bench
