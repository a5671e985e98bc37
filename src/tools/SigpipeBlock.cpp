#include "tools/SigpipeBlock.h"

#include <cerrno>
#include <ctime>

namespace ostrel
{

namespace
{

bool isSigpipePending()
{
    sigset_t pending;
    ::sigpending(&pending);
    return ::sigismember(&pending, SIGPIPE) == 1;
}

} // namespace

SigpipeBlock::SigpipeBlock() : m_wasPending(isSigpipePending())
{
    ::sigemptyset(&m_sigpipe);
    ::sigaddset(&m_sigpipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &m_sigpipe, &m_formerMask);
}

SigpipeBlock::~SigpipeBlock()
{
    const int formerError = errno;
    // A SIGPIPE that was pending before belongs to the application, so it stays.
    if (!m_wasPending && isSigpipePending()) {
        const timespec atOnce = {};
        while (::sigtimedwait(&m_sigpipe, nullptr, &atOnce) == -1 && errno == EINTR) {
        }
    }
    ::pthread_sigmask(SIG_SETMASK, &m_formerMask, nullptr);
    errno = formerError;
}

} // namespace ostrel
