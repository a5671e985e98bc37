#pragma once

// The exchange with the daemon over the named pipes of one service.
//
//   <base>.lock  made by the daemon; holding its flock() is the right to call
//   <base>.in    made by the daemon; one message for each opening
//   <base>.out   made by the caller for one call; one reply, then removed
//
// Transport.cpp tells the steps in their order.

#include <ostrel/Commands.h>

#include <string>

namespace ostrelApi
{

/// The files of one service's exchange, and the group that the daemon shares.
struct ServicePipes {
    std::string lock;
    std::string in;
    std::string out;
    std::string group;
};

/// The pipes of a service in its pipe directory.
[[nodiscard]] ServicePipes pipesOf(const std::string& directory, const std::string& serviceName,
                                   const std::string& group);

/// Sends `command`, whose user and pid it fills in, and returns the payload of
/// the daemon's reply. Blocks without a limit while the daemon holds the pipes;
/// a service that is in use by another caller fails at once. Throws
/// OstrelApiException, or std::runtime_error with the text of EINTR when a
/// signal interrupts the waiting for the reply. Every way out releases the lock
/// and removes the reply FIFO.
std::string exchange(ostrel::Commands& command, const ServicePipes& pipes);

} // namespace ostrelApi
