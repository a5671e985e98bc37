#pragma once

#include "bench/Device.h"

#include <functional>
#include <string>

#include <sys/types.h>

namespace bench
{

/// Replaces the daemon and does the minimum that a call needs. It is a process
/// like the daemon, and ends with its owner.
class Peer
{
public:
    /// Returns the reply to a message.
    using Answer = std::function<std::string(const std::string& message)>;

    Peer(const Device& device, const std::string& service, Answer answer);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

private:
    [[noreturn]] void serve() const;

    const std::string m_base;
    const Answer m_answer;
    pid_t m_process;
};

} // namespace bench
