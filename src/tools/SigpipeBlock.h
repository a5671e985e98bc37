#pragma once

#include <csignal>

namespace ostrel
{

/// Blocks SIGPIPE in this thread while the object lives, so that a write into a pipe
/// without a reader fails with EPIPE and does not end the application.
///
/// A library may not ignore SIGPIPE for the whole process: the signal's disposition
/// belongs to the application. So the object changes only the mask of its thread, and
/// removes the SIGPIPE that the write raised before it restores the mask. A SIGPIPE that
/// was pending before stays pending. A SIGPIPE that another process sends at the same time
/// may be lost. Construct and destroy it in the same thread.
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
