#include "base/Child.h"

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <stdexcept>

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>

namespace
{

using namespace std::chrono_literals;
using ostrel::Descriptor;
using ostreld::Child;
using ostreld::ChildEnd;
using ostreld::Loop;

constexpr Loop::Milliseconds plenty{30000};
constexpr Loop::Milliseconds moment{100};

class ChildTest : public testing::Test
{
protected:
    ChildTest()
    {
        for (const int signal : {SIGPIPE, SIGIO}) {
            std::signal(signal, SIG_IGN);
        }
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGCHLD);
        sigaddset(&signals, SIGTERM);
        ::sigprocmask(SIG_BLOCK, &signals, nullptr);
        sigdelset(&signals, SIGTERM);
        m_signals = Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    }

    std::string run(const std::string& script, Loop::Milliseconds patience = plenty)
    {
        return runWords({"/bin/sh", "-c", script}, patience);
    }

    std::string runWords(const std::vector<std::string>& words,
                         Loop::Milliseconds patience = plenty)
    {
        return await([&](const Child::OnEnd& onEnd) {
            return Child::ofProgram(*m_loop, words, {patience}, onEnd);
        });
    }

    std::string runFunction(const std::function<std::string()>& work)
    {
        return await(
            [&](const Child::OnEnd& onEnd) { return Child::ofFunction(*m_loop, work, onEnd); });
    }

    /// The output, or "failed: " and the reason.
    template <class Start>
    std::string await(Start start)
    {
        std::string result;
        m_loop.emplace();
        child = start([&](const ChildEnd& end) {
            result = end.isFine() ? end.output : "failed: " + end.failure;
            m_loop->stop();
        });
        const Loop::Source ends = m_loop->onEvents(m_signals.get(), POLLIN, [&] {
            signalfd_siginfo info{};
            while (::read(m_signals.get(), &info, sizeof info) > 0) {
            }
            child->reap();
        });
        m_loop->run();
        child.reset();
        return result;
    }

    std::unique_ptr<Child> child;

private:
    std::optional<Loop> m_loop;
    Descriptor m_signals;
};

TEST_F(ChildTest, ReturnsWhatItPrints)
{
    EXPECT_EQ(run("printf 'one\\ntwo'"), "one\ntwo");
    EXPECT_EQ(run("exit 0"), "");
    EXPECT_EQ(run("cat"), "") << "its input is empty";
    EXPECT_EQ(runFunction([] { return std::string(100000, 'a'); }), std::string(100000, 'a'));
}

TEST_F(ChildTest, ReceivesItsArgumentsWithoutAShell)
{
    EXPECT_EQ(runWords({"/bin/echo", "$HOME `id`", "a  b", "\"'", "*"}), "$HOME `id` a  b \"' *\n");
}

TEST_F(ChildTest, HasPathAloneInItsEnvironment)
{
    ::setenv("LD_PRELOAD_OF_SOMEBODY", "x", 1);
    const std::string environment = runWords({"/usr/bin/env"});
    EXPECT_EQ(environment.compare(0, 5, "PATH="), 0) << environment;
    EXPECT_EQ(environment.find('\n'), environment.size() - 1) << environment;
}

TEST_F(ChildTest, FailsWhenItsOutputExceedsTheLimit)
{
    const std::string limit = std::to_string(ostreld::largestOutput);
    EXPECT_EQ(run("head -c " + limit + " /dev/zero").size(), ostreld::largestOutput);
    EXPECT_EQ(run("head -c " + limit + " /dev/zero; echo"), "failed: /bin/sh prints too much");
}

TEST_F(ChildTest, FailsUnlessItsExitStatusIsZero)
{
    for (const char* script : {"exit 1", "exit 255", "kill -TERM $$", "echo half; exit 2"}) {
        EXPECT_EQ(run(script), "failed: /bin/sh failed") << script;
    }
    EXPECT_EQ(runFunction([]() -> std::string { throw std::runtime_error("no"); }),
              "failed: slow work failed");
    EXPECT_THROW(runWords({"/missing"}), std::runtime_error);
    EXPECT_EQ(runWords({"/etc"}), "failed: /etc failed");
}

TEST_F(ChildTest, FailsWhenItTakesTooLong)
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
        EXPECT_EQ(run(row.script, moment), "failed: /bin/sh takes too long") << row.sentence;
    }
}

TEST_F(ChildTest, IsKilledWithItsChildren)
{
    const support::TemporaryDirectory directory;
    const std::string fifo = directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const auto reader = Descriptor::open(fifo, O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(run("exec 3>" + fifo + "; sleep 1000 & wait", 10 * moment),
              "failed: /bin/sh takes too long");
    // The pipe ends once no process can write to it.
    pollfd entry{reader.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&entry, 1, static_cast<int>(plenty.count())), 1);
    EXPECT_EQ(entry.revents, POLLHUP);
}

TEST_F(ChildTest, StartsWithNoSignalBlockedOrIgnored)
{
    for (const char* signal : {"PIPE", "IO", "TERM"}) {
        EXPECT_EQ(run(std::string("kill -") + signal + " $$"), "failed: /bin/sh failed") << signal;
    }
}

TEST_F(ChildTest, InheritsNoDescriptor)
{
    const int leaked = ::open("/dev/null", O_RDONLY);
    EXPECT_EQ(run("ls /proc/self/fd"), "0\n1\n2\n3\n") << "3 is the directory";
    ::close(leaked);
}

TEST_F(ChildTest, IsNotRunWhenOthersCanWriteTheProgram)
{
    const support::TemporaryDirectory directory;
    const std::string script = directory / "script";
    const struct {
        const char* sentence;
        mode_t directoryMode;
        mode_t mode;
        bool isRun;
    } rows[] = {
        {"nobody else", 0755, 0755, true},
        {"its group", 0755, 0775, false},
        {"everybody", 0755, 0757, false},
        {"everybody its directory", 0777, 0755, false},
        {"everybody its sticky directory", 01777, 0755, true},
    };
    support::writeText(script, "#!/bin/sh\necho run\n");
    for (const auto& row : rows) {
        ::chmod(directory.path().c_str(), row.directoryMode);
        ::chmod(script.c_str(), row.mode);
        if (row.isRun) {
            EXPECT_EQ(runWords({script}), "run\n") << row.sentence;
        } else {
            EXPECT_THROW(runWords({script}), std::runtime_error) << row.sentence;
        }
    }
}

} // namespace
