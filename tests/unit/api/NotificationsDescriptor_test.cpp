// The descriptor of a notification, while it is open and when it is closed.

#include <ostrelApi/OstrelService.h>

#include <ostrel/Debug.h>

#include "support/DeniedSystemCalls.h"
#include "support/Device.h"
#include "support/Thrown.h"
#include "tools/Descriptor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <thread>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

int watched = -1;
int closings = 0;

/// Inspects the descriptor when the notification traces its line: the
/// descriptor is open then.
class Watch : public std::stringbuf
{
public:
    explicit Watch(int descriptor) : m_former(std::cerr.rdbuf(this))
    {
        watched = descriptor;
        closings = 0;
        ostrel::gDebug = true;
    }
    ~Watch() override
    {
        ostrel::gDebug = false;
        std::cerr.rdbuf(m_former);
        watched = -1;
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    int flags() const { return m_flags; }
    /// How often the descriptor was closed before the line was traced.
    int closingsBefore() const { return m_closingsBefore; }

protected:
    std::streamsize xsputn(const char* text, std::streamsize length) override
    {
        m_flags = ::fcntl(watched, F_GETFD);
        m_closingsBefore = closings;
        return std::stringbuf::xsputn(text, length);
    }

private:
    std::streambuf* const m_former;
    int m_flags = -1;
    int m_closingsBefore = -1;
};

class NotificationDescriptor : public testing::Test
{
protected:
    NotificationDescriptor()
    {
        ::mkfifo(fifo.c_str(), 0622);
        reader = ostrel::Descriptor::open(fifo, O_RDONLY | O_NONBLOCK);
        // The first call of a process also reads the daemon configuration.
        ostrelApi::OstrelService::notifyTime();
    }

    /// The number of the next descriptor that the process opens.
    static int next() { return ostrel::Descriptor::open("/dev/null", O_RDONLY).get(); }

    const support::Device device;
    const std::string fifo = device.pipesDirectory() + "/notification.signal";
    ostrel::Descriptor reader;
};

TEST_F(NotificationDescriptor, IsClosedInProgramsThatTheProcessExecutes)
{
    const Watch watch(next());
    ostrelApi::OstrelService::notifyTime();
    EXPECT_EQ(watch.flags(), FD_CLOEXEC);
}

// Intended: its stream has already closed it, inside the C library.
TEST_F(NotificationDescriptor, IsClosedOnceMoreAfterItsStream)
{
    const Watch watch(next());
    ostrelApi::OstrelService::notifyTime();
    EXPECT_EQ(closings, 1);
}

TEST_F(NotificationDescriptor, IsNotClosedWhenNoneWasOpened)
{
    std::filesystem::remove(fifo);
    const Watch watch(-1);
    EXPECT_EQ(support::thrownBy(ostrelApi::OstrelService::notifyTime), support::apiError(11));
    EXPECT_EQ(closings, 0);
}

TEST_F(NotificationDescriptor, IsClosedAfterTheTraceWhenItGetsNoStream)
{
    const Watch watch(next());
    bool canDeny = false;
    std::string thrown;
    std::thread([&] {
        // The C library reads the flags of a descriptor before it makes a stream.
        canDeny = support::denySystemCalls({SYS_fcntl}, EPERM);
        thrown = canDeny ? support::thrownBy(ostrelApi::OstrelService::notifyTime) : "";
    }).join();
    if (!canDeny) {
        GTEST_SKIP() << "the kernel has no seccomp filters";
    }
    EXPECT_EQ(thrown, support::apiError(1));
    EXPECT_EQ(watch.closingsBefore(), 0);
    EXPECT_EQ(closings, 1);
}

} // namespace

// The library's own calls of close() come here; those of fclose() do not.
extern "C" int close(int descriptor)
{
    closings += descriptor == watched ? 1 : 0;
    return static_cast<int>(::syscall(SYS_close, descriptor));
}
