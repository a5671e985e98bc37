#include <ostrelApi/OstrelService.h>

#include <ostrel/DaemonConfiguration.h>

#include "support/CapturedErrors.h"
#include "support/DeniedSystemCalls.h"
#include "support/Device.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"
#include "tools/Descriptor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <thread>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace
{

namespace fs = std::filesystem;
using ostrel::Descriptor;
using ostrelApi::OstrelService;
using support::apiError;
using support::CapturedTrace;
using support::openDescriptorCount;
using support::thrownBy;

/// A device on which no process reads the notifications yet.
class Notification : public testing::Test
{
protected:
    void makeFifo() const { ASSERT_EQ(::mkfifo(fifo.c_str(), 0622), 0); }
    Descriptor listen() const { return Descriptor::open(fifo, O_RDONLY | O_NONBLOCK); }

    /// The bytes that arrived since the last call.
    static std::string receivedBy(const Descriptor& reader)
    {
        std::string text(100000, '\0');
        const ssize_t count = ::read(reader.get(), &text[0], text.size());
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }

    const support::Device device;
    const std::string fifo = device.pipesDirectory() + "/notification.signal";
};

struct SentRow {
    const char* sentence;
    void (*send)();
    std::string received;
    const char* trace;
};

const SentRow sentRows[] = {
    {"the network", OstrelService::notifyNetwork, "n", "Send -> 110\n"},
    {"the time", OstrelService::notifyTime, "t", "Send -> 116\n"},
    {"any other byte", [] { OstrelService::sendNotification('x'); }, "x", "Send -> 120\n"},
    {"a line feed", [] { OstrelService::sendNotification('\n'); }, "\n", "Send -> 10\n"},
    {"a NUL", [] { OstrelService::sendNotification('\0'); }, std::string(1, '\0'), "Send -> 0\n"},
    {"the highest byte, even if char is signed", [] { OstrelService::sendNotification('\xff'); },
     "\xff", "Send -> 255\n"},
};

TEST_F(Notification, IsOneByteAndTracesOneLine)
{
    makeFifo();
    const Descriptor reader = listen();
    for (const SentRow& row : sentRows) {
        const CapturedTrace trace;
        EXPECT_EQ(thrownBy(row.send), "nothing") << row.sentence;
        EXPECT_EQ(receivedBy(reader), row.received) << row.sentence;
        EXPECT_EQ(trace.text(), row.trace) << row.sentence;
    }
}

TEST_F(Notification, IsReceivedInOrder)
{
    makeFifo();
    const Descriptor reader = listen();
    OstrelService::notifyTime();
    OstrelService::notifyNetwork();
    OstrelService::notifyTime();
    EXPECT_EQ(receivedBy(reader), "tnt");
}

TEST_F(Notification, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    EXPECT_EQ(thrownBy(OstrelService::notifyTime), apiError(11));
    makeFifo();
    EXPECT_EQ(thrownBy(OstrelService::notifyTime), apiError(11));
    const Descriptor reader = listen();
    EXPECT_EQ(thrownBy(OstrelService::notifyTime), "nothing");
    EXPECT_EQ(errors.text(), "");
}

struct FailureRow {
    const char* sentence;
    void (*put)(const std::string& fifo);
    int returnCode;
    /// The traced text before and after the path.
    std::string before;
    std::string behind;
};

const char off[] = " Looks like the 'ostreld' service is not running!\n";

const FailureRow failureRows[] = {
    {"no FIFO", [](const std::string&) {}, 11, "'", std::string("' file not found.") + off},
    {"a dangling link", [](const std::string& fifo) { fs::create_symlink("nothing", fifo); }, 11,
     "'", std::string("' file not found.") + off},
    {"no reader", [](const std::string& fifo) { ASSERT_EQ(::mkfifo(fifo.c_str(), 0622), 0); }, 11,
     "FiFo '", std::string("' is not open on the other side.") + off},
    {"a directory", [](const std::string& fifo) { fs::create_directory(fifo); }, 1,
     "Error: Failed to open FIFO file '", "'\n"},
    {"a link to itself", [](const std::string& fifo) { fs::create_symlink(fifo, fifo); }, 1,
     "Error: Failed to open FIFO file '", "'\n"},
};

TEST_F(Notification, FailsWithoutAReader)
{
    const std::size_t descriptorsBefore = openDescriptorCount();
    for (const FailureRow& row : failureRows) {
        row.put(fifo);
        const CapturedTrace trace;
        for (const SentRow& sent : sentRows) {
            EXPECT_EQ(thrownBy(sent.send), apiError(row.returnCode)) << row.sentence;
        }
        std::string expected;
        for (std::size_t i = 0; i < std::size(sentRows); ++i) {
            expected += row.before + fifo + row.behind;
        }
        EXPECT_EQ(trace.text(), expected) << row.sentence;
        fs::remove(fifo);
    }
    EXPECT_EQ(openDescriptorCount(), descriptorsBefore);
}

TEST_F(Notification, PassesOnTheFailureOfTheDaemonConfiguration)
{
    device.writeDaemonConfiguration("");
    const std::string expected = thrownBy(ostrel::DaemonConfiguration::getNamePipesDirectory);
    EXPECT_EQ(expected.find("std::runtime_error: "), 0U) << expected;
    EXPECT_EQ(thrownBy(OstrelService::notifyTime), expected);
}

const std::vector<long> descriptorFlags = {
    SYS_fcntl,
#ifdef SYS_fcntl64
    SYS_fcntl64,
#endif
};

TEST_F(Notification, FailsAndClosesItsDescriptorWhenThereIsNoStreamForIt)
{
    makeFifo();
    const Descriptor reader = listen();
    const CapturedTrace trace;
    const std::size_t descriptorsBefore = openDescriptorCount();
    bool canDeny = false;
    std::string thrown;
    std::thread([&] {
        // The C library reads the flags of a descriptor before it makes a stream.
        canDeny = support::denySystemCalls(descriptorFlags, EPERM);
        thrown = canDeny ? thrownBy(OstrelService::notifyTime) : "";
    }).join();
    if (!canDeny) {
        GTEST_SKIP() << "the kernel has no seccomp filters";
    }
    EXPECT_EQ(thrown, apiError(1));
    EXPECT_EQ(trace.text(), "Error: Failed to open FIFO file '" + fifo + "'\n");
    EXPECT_EQ(openDescriptorCount(), descriptorsBefore);
    EXPECT_EQ(receivedBy(reader), "");
}

// Intended: a lost byte is not reported.
TEST_F(Notification, IsLostInAFullFifoSilentlyAndWithoutAWait)
{
    makeFifo();
    const Descriptor reader = listen();
    const Descriptor filler = Descriptor::open(fifo, O_WRONLY | O_NONBLOCK);
    std::size_t filled = 0;
    for (ssize_t count = 0; count != -1; count = ::write(filler.get(), "................", 16)) {
        filled += static_cast<std::size_t>(count);
    }
    const CapturedTrace trace;
    EXPECT_EQ(thrownBy(OstrelService::notifyNetwork), "nothing");
    EXPECT_EQ(trace.text(), "Send -> 110\n");
    EXPECT_EQ(receivedBy(reader), std::string(filled, '.'));
    OstrelService::notifyNetwork();
    EXPECT_EQ(receivedBy(reader), "n") << "once there is room";
}

TEST_F(Notification, LeavesNoDescriptorOpen)
{
    makeFifo();
    const Descriptor reader = listen();
    const std::size_t before = openDescriptorCount();
    for (int i = 0; i < 100; ++i) {
        OstrelService::notifyTime();
    }
    EXPECT_EQ(openDescriptorCount(), before);
}

// Intended: its descriptor is closed twice. The second close() fails unless
// another thread opens a descriptor in between.
TEST_F(Notification, LeavesTheDescriptorsOfItsCallerOpen)
{
    makeFifo();
    const Descriptor reader = listen();
    const Descriptor lower = Descriptor::open("/dev/null", O_RDONLY);
    Descriptor gap = Descriptor::open("/dev/null", O_RDONLY);
    const Descriptor higher = Descriptor::open("/dev/null", O_RDONLY);
    const int used = gap.get();
    gap.close();
    OstrelService::notifyTime();
    const Descriptor next = Descriptor::open("/dev/null", O_RDONLY);
    EXPECT_EQ(next.get(), used) << "the descriptor is free again";
    for (const Descriptor* descriptor : {&reader, &lower, &higher, &next}) {
        EXPECT_NE(::fcntl(descriptor->get(), F_GETFD), -1);
    }
    EXPECT_EQ(receivedBy(reader), "t");
}

TEST_F(Notification, OfSeveralProcessesArrivesWhole)
{
    makeFifo();
    const Descriptor reader = listen();
    for (void (*notify)() : {OstrelService::notifyTime, OstrelService::notifyNetwork}) {
        const pid_t child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            for (int i = 0; i < 1000; ++i) {
                notify();
            }
            ::_exit(0);
        }
    }
    int status = 0;
    while (::wait(&status) != -1) {
        EXPECT_EQ(status, 0);
    }
    const std::string received = receivedBy(reader);
    EXPECT_EQ(std::count(received.begin(), received.end(), 't'), 1000);
    EXPECT_EQ(std::count(received.begin(), received.end(), 'n'), 1000);
    EXPECT_EQ(received.size(), 2000U);
}

} // namespace
