#pragma once

// The exchange of one message and one reply with the daemon, over the named pipes
// of a service.
//
//   S.lock  created by the daemon; the holder of its flock() may call
//   S.in    created by the daemon; each open and close carries one message
//   S.out   created by the caller for one call; carries one reply
//
// Why each file exists and why each step is as it is: docs/PROTOCOL.md and the
// comments of Transport.cpp.
//
// Threads: any thread may call. The flock() also excludes two threads of one process
// from each other, because each call opens S.lock itself.

#include <ostrel/Commands.h>

#include <string>

namespace ostrelApi
{

/// The paths of one service's pipes, the group that callers and daemon share, and what
/// returns the name of the daemon's user, or nothing.
struct ServicePipes {
    std::string lock;
    std::string in;
    std::string out;
    std::string group;
    std::string (*daemonUser)();
};

/// The pipes of the service `serviceName` in `directory`.
[[nodiscard]] ServicePipes pipesOf(const std::string& directory, const std::string& serviceName,
                                   const std::string& group);

/// Sends `command` and returns the payload of the daemon's reply. Replaces the
/// command's user and pid by the caller's.
///
/// Waits, without a limit, until a daemon reads the command FIFO and until the reply
/// is complete. Does not wait for another caller. Releases the lock and removes the
/// reply FIFO on every path. Throws CallError:
///
/// - DaemonOff (11) when the lock file or the command FIFO does not exist,
/// - AccessDenied (3) when the lock file cannot be opened,
/// - ApiLocked (2) when another caller holds the lock,
/// - ActionFailed (1) when another step fails or the reply is malformed or longer than
///   16 MiB,
/// - the daemon's return code when it is not 0,
///
/// and Interrupted when a signal handler interrupts the wait for the reply.
std::string exchange(ostrel::Commands& command, const ServicePipes& pipes);

} // namespace ostrelApi
