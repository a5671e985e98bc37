#pragma once

#include "tools/Descriptor.h"

#include <functional>
#include <string>

#include <sys/types.h>

namespace daemon_case
{

/// A process that makes calls through the library. A signal without SA_RESTART
/// interrupts the call in which it waits. The destructor kills the process.
class Caller
{
public:
    using Work = std::function<std::string()>;

    /// Starts a process that returns what `work` returns, or "gave up: " and the text of
    /// what `work` throws.
    explicit Caller(const Work& work);
    ~Caller();
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    /// Interrupts its call, repeatedly because it may not wait yet, and returns its
    /// outcome.
    std::string giveUp();

    /// Waits for its outcome. Returns "still waiting" when half of the test's time is over.
    std::string outcome();

    pid_t pid() const { return m_pid; }

private:
    bool isOver(int milliseconds) const;

    pid_t m_pid = -1;
    ostrel::Descriptor m_outcome;
};

/// Lets SIGUSR1 and SIGALRM interrupt the system calls of this process.
void letSignalsInterrupt();

/// The outcome of `work` in this process, as that of a Caller.
std::string outcomeOf(const Caller::Work& work);

} // namespace daemon_case
