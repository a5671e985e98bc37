#pragma once

#include <csignal>
#include <future>

namespace support
{

/// Sends signals to the thread that created it, to interrupt its system calls.
class Interruption
{
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    void once() const;

    /// Signals repeatedly until over(): a signal that arrives before the target
    /// waits has no effect.
    void untilOver();

    /// Stops untilOver(). No signal follows once this returns.
    void over();

private:
    const pthread_t m_target = ::pthread_self();
    struct sigaction m_former;
    std::promise<void> m_over;
    std::promise<void> m_silent;
};

} // namespace support
