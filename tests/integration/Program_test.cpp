#include "base/Program.h"

#include "support/DeniedSystemCalls.h"
#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <stdexcept>

#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds plenty{30000};
constexpr milliseconds moment{100};

std::string run(const std::string& script, milliseconds patience = plenty)
{
    return ostreld::runProgram({"/bin/sh", "-c", script}, patience);
}

std::string failureOf(const std::string& script, milliseconds patience = plenty)
{
    try {
        return "printed " + run(script, patience);
    } catch (const std::runtime_error& caught) {
        return caught.what();
    }
}

TEST(Program, ReturnsItsOutput)
{
    EXPECT_EQ(run("printf 'one\\ntwo'"), "one\ntwo");
    EXPECT_EQ(run("exit 0"), "");
    EXPECT_EQ(run("cat"), "") << "its input is empty";
}

TEST(Program, ReceivesItsArgumentsWithoutAShell)
{
    EXPECT_EQ(ostreld::runProgram({"/bin/echo", "$HOME `id`", "a  b", "\"'", "*"}, plenty),
              "$HOME `id` a  b \"' *\n");
}

TEST(Program, FailsWhenItsOutputExceedsTheLimit)
{
    const std::string limit = std::to_string(ostreld::largestOutput);
    EXPECT_EQ(run("head -c " + limit + " /dev/zero").size(), ostreld::largestOutput);
    EXPECT_EQ(failureOf("head -c " + limit + " /dev/zero; echo"), "/bin/sh prints too much");
}

TEST(Program, FailsUnlessItsExitStatusIsZero)
{
    for (const char* script : {"exit 1", "exit 255", "kill -TERM $$", "echo half; exit 2"}) {
        EXPECT_EQ(failureOf(script), "/bin/sh failed") << script;
    }
    EXPECT_THROW(ostreld::runProgram({"/missing"}, plenty), std::runtime_error);
    EXPECT_THROW(ostreld::runProgram({"/etc"}, plenty), std::runtime_error);
}

TEST(Program, FailsWhenItTakesTooLong)
{
    const struct {
        const char* sentence;
        const char* script;
    } rows[] = {
        {"it does nothing", "exec sleep 1000"},
        {"it prints a little, without end", "while :; do echo; sleep 0.05; done"},
        {"it closes its output and continues", "exec >&-; exec sleep 1000"},
        {"it ignores the signals that end others",
         "trap '' TERM HUP INT; while :; do sleep 0.05; done"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(failureOf(row.script, moment), "/bin/sh takes too long") << row.sentence;
    }
}

TEST(Program, IsKilledWithItsChildren)
{
    const support::TemporaryDirectory directory;
    const std::string fifo = directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const auto reader = ostrel::Descriptor::open(fifo, O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(failureOf("exec 3>" + fifo + "; sleep 1000 & wait", 10 * moment),
              "/bin/sh takes too long");
    // The pipe ends once no process can write to it.
    pollfd entry{reader.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&entry, 1, static_cast<int>(plenty.count())), 1);
    EXPECT_EQ(entry.revents, POLLHUP);
}

TEST(Program, StartsWithNoSignalBlockedOrIgnored)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGIO, SIG_IGN);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &signals, nullptr), 0);
    EXPECT_EQ(failureOf("kill -PIPE $$"), "/bin/sh failed");
    EXPECT_EQ(failureOf("kill -IO $$"), "/bin/sh failed");
    EXPECT_EQ(failureOf("kill -TERM $$"), "/bin/sh failed");
}

/// Linux before 5.3 has no pidfd_open().
TEST(Program, IsWaitedForWithoutAProcessDescriptor)
{
    if (!support::denySystemCalls({SYS_pidfd_open}, ENOSYS)) {
        GTEST_SKIP() << "the kernel has no seccomp filters";
    }
    EXPECT_EQ(run("printf one"), "one");
    EXPECT_EQ(run("exec >&-; sleep 0.05"), "");
    EXPECT_EQ(failureOf("exit 3"), "/bin/sh failed");
    EXPECT_EQ(failureOf("exec >&-; exec sleep 1000", moment), "/bin/sh takes too long");
}

} // namespace
