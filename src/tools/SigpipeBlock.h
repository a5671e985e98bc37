#pragma once

#include <csignal>

namespace ostrel
{

/// While an object lives, a write into a pipe without a reader fails with
/// EPIPE in this thread and raises no signal. Afterwards the thread's signal
/// mask and all dispositions are what they were, and a signal that was pending
/// before is pending still; one that another process sends meanwhile may be lost.
class SigpipeBlock
{
public:
    SigpipeBlock();
    ~SigpipeBlock();
    SigpipeBlock(const SigpipeBlock&) = delete;
    SigpipeBlock& operator=(const SigpipeBlock&) = delete;

private:
    sigset_t m_sigpipe;
    sigset_t m_formerMask;
    bool m_wasPending;
};

} // namespace ostrel
