#pragma once

#include <csignal>
#include <future>

namespace support
{

/// Signals the thread that made it, whose system calls are interrupted by that.
class Interruption
{
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    void once() const;

    /// Again and again until over(), for one that comes before the target has
    /// started to wait is of no effect.
    void untilOver();

    /// Afterwards no further signal comes.
    void over();

private:
    const pthread_t m_target = ::pthread_self();
    struct sigaction m_former;
    std::promise<void> m_over;
    std::promise<void> m_silent;
};

} // namespace support
