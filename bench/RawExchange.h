#pragma once

// A call to the daemon by hand: the look-ups and system calls of
// OstrelService::sendCommandToServer(), in the same order.

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

/// Sends user, pid and `fields`, and returns the payload of the reply.
std::string exchangeByHand(const RawPipes& pipes, const char* fields);

} // namespace bench
