#pragma once

#include "bench/Device.h"

#include <functional>
#include <string>

#include <sys/types.h>

namespace bench
{

/// Stands where the daemon stands and does the least that a call needs. A
/// process, as the daemon is one; it ends with its owner.
class Peer
{
public:
    /// What is written for a message.
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
