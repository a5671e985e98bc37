// The daemon closes its FIFO between the open and the write of a notification.

#include <ostrelApi/OstrelService.h>

#include <ostrel/Debug.h>

#include "support/Device.h"
#include "support/Thrown.h"
#include "tools/Descriptor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <iostream>
#include <sstream>

#include <sys/stat.h>

namespace
{

using ostrel::Descriptor;
using ostrelApi::OstrelService;

/// Closes the FIFO when the notification traces its line, between the open and
/// the write.
class LeavingReader : public std::stringbuf
{
public:
    explicit LeavingReader(const std::string& fifo)
        : m_fifo(Descriptor::open(fifo, O_RDONLY | O_NONBLOCK)), m_former(std::cerr.rdbuf(this))
    {
        ostrel::gDebug = true;
    }
    ~LeavingReader() override
    {
        ostrel::gDebug = false;
        std::cerr.rdbuf(m_former);
    }
    LeavingReader(const LeavingReader&) = delete;
    LeavingReader& operator=(const LeavingReader&) = delete;

    bool isGone() const { return !m_fifo.isOpen(); }

protected:
    std::streamsize xsputn(const char* text, std::streamsize length) override
    {
        m_fifo.close();
        return std::stringbuf::xsputn(text, length);
    }

private:
    Descriptor m_fifo;
    std::streambuf* const m_former;
};

/// How a caller may have set up SIGPIPE.
struct CallerRow {
    const char* sentence;
    bool isBlocked;
    bool isPending;
};

void PrintTo(const CallerRow& row, std::ostream* out)
{
    *out << row.sentence;
}

class NotificationSigpipe : public testing::TestWithParam<CallerRow>
{
protected:
    NotificationSigpipe()
    {
        ::mkfifo(fifo.c_str(), 0622);
        ::sigemptyset(&sigpipe);
        ::sigaddset(&sigpipe, SIGPIPE);
        ::pthread_sigmask(GetParam().isBlocked ? SIG_BLOCK : SIG_UNBLOCK, &sigpipe, nullptr);
        if (GetParam().isPending) {
            ::raise(SIGPIPE);
        }
    }
    ~NotificationSigpipe() override
    {
        const timespec atOnce = {};
        ::sigtimedwait(&sigpipe, nullptr, &atOnce);
        ::pthread_sigmask(SIG_UNBLOCK, &sigpipe, nullptr);
    }

    static bool isBlocked()
    {
        sigset_t mask;
        ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        return ::sigismember(&mask, SIGPIPE) == 1;
    }
    static bool isPending()
    {
        sigset_t pending;
        ::sigpending(&pending);
        return ::sigismember(&pending, SIGPIPE) == 1;
    }

    const support::Device device;
    const std::string fifo = device.pipesDirectory() + "/notification.signal";
    sigset_t sigpipe;
};

// SIGPIPE has its default disposition here, so a delivered signal ends the test's process.
TEST_P(NotificationSigpipe, DoesNotReachTheCallerAndTheLossIsNotReported)
{
    const LeavingReader reader(fifo);
    EXPECT_EQ(support::thrownBy(OstrelService::notifyNetwork), "nothing");
    EXPECT_EQ(reader.str(), "Send -> 110\n");
    EXPECT_TRUE(reader.isGone());
    struct sigaction action = {};
    ::sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
    EXPECT_EQ(isBlocked(), GetParam().isBlocked);
    EXPECT_EQ(isPending(), GetParam().isPending);
}

INSTANTIATE_TEST_SUITE_P(Callers, NotificationSigpipe,
                         testing::Values(CallerRow{"Open", false, false},
                                         CallerRow{"Blocked", true, false},
                                         CallerRow{"Pending", true, true}),
                         testing::PrintToStringParamName());

} // namespace
