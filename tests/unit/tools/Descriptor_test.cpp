#include "tools/Descriptor.h"

#include "support/TextFiles.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <thread>

namespace
{

using ostrel::Descriptor;

bool isOpenInKernel(int fd)
{
    return ::fcntl(fd, F_GETFD) != -1;
}

TEST(Descriptor, IsNotOpenByDefault)
{
    EXPECT_FALSE(Descriptor().isOpen());
    EXPECT_EQ(Descriptor().get(), -1);
}

TEST(Descriptor, IsOpenedCloseOnExec)
{
    const Descriptor file = Descriptor::open("/dev/null", O_RDONLY);
    ASSERT_TRUE(file.isOpen());
    EXPECT_EQ(::fcntl(file.get(), F_GETFD), FD_CLOEXEC);
}

TEST(Descriptor, LeavesTheReasonOfAFailedOpenInErrno)
{
    const support::TemporaryDirectory directory;
    errno = 0;
    EXPECT_FALSE(Descriptor::open(directory / "missing", O_RDONLY).isOpen());
    EXPECT_EQ(errno, ENOENT);
}

TEST(Descriptor, CreatesAFileWithTheGivenMode)
{
    const support::TemporaryDirectory directory;
    const Descriptor file = Descriptor::open(directory / "new", O_WRONLY | O_CREAT, 0600);
    ASSERT_TRUE(file.isOpen());
    EXPECT_TRUE(ostrel::writeAll(file, "text"));
    EXPECT_EQ(support::readText(directory / "new"), "text");
}

TEST(Descriptor, IsClosedWithItsOwner)
{
    int fd = -1;
    {
        const Descriptor file = Descriptor::open("/dev/null", O_RDONLY);
        fd = file.get();
        EXPECT_TRUE(isOpenInKernel(fd));
    }
    EXPECT_FALSE(isOpenInKernel(fd));
}

TEST(Descriptor, CanBeClosedEarlyAndTwice)
{
    Descriptor file = Descriptor::open("/dev/null", O_RDONLY);
    const int fd = file.get();
    file.close();
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(isOpenInKernel(fd));
    const Descriptor next = Descriptor::open("/dev/null", O_RDONLY);
    file.close();
    EXPECT_TRUE(isOpenInKernel(next.get())) << "the number was another owner's by then";
}

TEST(Descriptor, TransfersItsFileWhenMoved)
{
    Descriptor first = Descriptor::open("/dev/null", O_RDONLY);
    const int fd = first.get();
    const Descriptor second = std::move(first);
    EXPECT_EQ(second.get(), fd);
    EXPECT_TRUE(isOpenInKernel(fd));
}

TEST(Descriptor, ClosesItsFormerFileOnMoveAssignment)
{
    Descriptor kept = Descriptor::open("/dev/null", O_RDONLY);
    const int former = kept.get();
    int fd = -1;
    {
        Descriptor other = Descriptor::open("/dev/zero", O_RDONLY);
        fd = other.get();
        kept = std::move(other);
    }
    EXPECT_EQ(kept.get(), fd);
    EXPECT_TRUE(isOpenInKernel(fd));
    EXPECT_FALSE(isOpenInKernel(former));
}

TEST(WriteAll, ReportsAFailedWrite)
{
    const Descriptor full = Descriptor::open("/dev/full", O_WRONLY);
    EXPECT_FALSE(ostrel::writeAll(full, "text"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(ostrel::writeAll(Descriptor(), "text"));
    EXPECT_EQ(errno, EBADF);
}

TEST(WriteAll, WritesNothingForAnEmptyText)
{
    EXPECT_TRUE(ostrel::writeAll(Descriptor::open("/dev/full", O_WRONLY), ""));
}

std::atomic<int> interruptions{0};

void countInterruption(int /*signal*/)
{
    ++interruptions;
}

// Reads the pipe to its end and signals the writer after each read.
std::string readInterrupting(const Descriptor& pipe, pthread_t writer, std::size_t wanted)
{
    std::string text;
    char chunk[4096];
    while (text.size() < wanted) {
        ::pthread_kill(writer, SIGUSR1);
        const ssize_t count = ::read(pipe.get(), chunk, sizeof chunk);
        if (count <= 0) {
            break;
        }
        text.append(chunk, static_cast<std::size_t>(count));
    }
    return text;
}

TEST(WriteAll, ContinuesAfterASignal)
{
    struct sigaction action = {};
    action.sa_handler = countInterruption;
    ASSERT_EQ(::sigaction(SIGUSR1, &action, nullptr), 0);
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    const Descriptor writing(ends[1]);
    std::string sent;
    while (sent.size() < 4000000) {
        sent += std::to_string(sent.size()) + ' ';
    }
    std::string received;
    const pthread_t writer = ::pthread_self();
    std::thread reader([&] { received = readInterrupting(reading, writer, sent.size()); });
    EXPECT_TRUE(ostrel::writeAll(writing, sent));
    reader.join();
    EXPECT_TRUE(received == sent) << received.size() << " of " << sent.size() << " bytes arrived";
    EXPECT_GT(interruptions, 0);
}

} // namespace
