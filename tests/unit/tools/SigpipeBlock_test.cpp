#include "tools/SigpipeBlock.h"

#include "tools/Descriptor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <thread>

namespace
{

using ostrel::Descriptor;
using ostrel::SigpipeBlock;

/// The writing end of a pipe without a reader.
Descriptor brokenPipe()
{
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    return Descriptor(ends[1]);
}

bool isBlocked()
{
    sigset_t mask;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return ::sigismember(&mask, SIGPIPE) == 1;
}

bool isPending()
{
    sigset_t pending;
    ::sigpending(&pending);
    return ::sigismember(&pending, SIGPIPE) == 1;
}

void setBlocked(bool blocked)
{
    sigset_t sigpipe;
    ::sigemptyset(&sigpipe);
    ::sigaddset(&sigpipe, SIGPIPE);
    ::pthread_sigmask(blocked ? SIG_BLOCK : SIG_UNBLOCK, &sigpipe, nullptr);
}

// SIGPIPE has its default disposition here, so a delivered signal ends the test's process.
TEST(SigpipeBlock, TurnsAWriteWithoutAReaderIntoAnError)
{
    const Descriptor pipe = brokenPipe();
    {
        const SigpipeBlock noSignal;
        EXPECT_EQ(::write(pipe.get(), "x", 1), -1);
        EXPECT_EQ(errno, EPIPE);
    }
    EXPECT_EQ(errno, EPIPE) << "errno is still set after the block";
    EXPECT_FALSE(isBlocked());
    EXPECT_FALSE(isPending());
}

TEST(SigpipeBlock, DoesNotChangeTheDisposition)
{
    const SigpipeBlock noSignal;
    struct sigaction action = {};
    ::sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

TEST(SigpipeBlock, KeepsSigpipeBlockedIfItWasBlockedBefore)
{
    const Descriptor pipe = brokenPipe();
    setBlocked(true);
    {
        const SigpipeBlock noSignal;
        EXPECT_EQ(::write(pipe.get(), "x", 1), -1);
    }
    EXPECT_TRUE(isBlocked());
    EXPECT_FALSE(isPending()) << "the signal of the write does not stay pending";
}

TEST(SigpipeBlock, KeepsASignalThatWasPendingBefore)
{
    const Descriptor pipe = brokenPipe();
    setBlocked(true);
    ASSERT_EQ(::raise(SIGPIPE), 0);
    {
        const SigpipeBlock noSignal;
        EXPECT_EQ(::write(pipe.get(), "x", 1), -1);
    }
    EXPECT_TRUE(isPending());
}

TEST(SigpipeBlock, RestoresTheMaskWithoutAWrite)
{
    {
        const SigpipeBlock noSignal;
        EXPECT_TRUE(isBlocked());
    }
    EXPECT_FALSE(isBlocked());
    EXPECT_FALSE(isPending());
}

TEST(SigpipeBlock, CanBeNested)
{
    const Descriptor pipe = brokenPipe();
    {
        const SigpipeBlock outer;
        {
            const SigpipeBlock inner;
            EXPECT_EQ(::write(pipe.get(), "x", 1), -1);
        }
        EXPECT_TRUE(isBlocked());
        EXPECT_EQ(::write(pipe.get(), "x", 1), -1);
    }
    EXPECT_FALSE(isBlocked());
    EXPECT_FALSE(isPending());
}

TEST(SigpipeBlock, AffectsOnlyItsThread)
{
    const SigpipeBlock noSignal;
    std::thread([] {
        setBlocked(false);
        const SigpipeBlock ownBlock;
        EXPECT_TRUE(isBlocked());
    }).join();
    EXPECT_TRUE(isBlocked());
}

} // namespace
