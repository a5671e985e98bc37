// A daemon that never answers: the program ends in time, and leaves nothing
// behind, wherever the exchange stood.

#include "cli/CliCase.h"
#include "support/Await.h"
#include "support/ScriptedPeer.h"

#include "tools/Descriptor.h"

#include <future>

#include <sys/file.h>
#include <sys/stat.h>

namespace
{

using cli_case::answerTo;
using cli_case::FinishedProgram;
using cli_case::run;
using cli_case::Words;
using support::ScriptedPeer;
using testing::HasSubstr;

class TimeOut : public cli_case::WithDevice
{
protected:
    TimeOut()
    {
        support::writeText(paths.csrPath(), "pending");
        pem = file("ca.pem", {cli_case::TestCertificate().pem()});
    }

    /// The commands that wait for the daemon.
    std::vector<Words> waiting() const
    {
        return {{"status", "web"},
                {"reload", "web"},
                {"ca", "add", "web", pem},
                {"server", "apply", "web", pem},
                {"server", "csr", "create", "web"},
                {"server", "csr", "info", "web"},
                {"send", "web", "config", "help"}};
    }

    static Words hurried(Words words)
    {
        words.insert(words.begin(), {"--timeout", "1"});
        return words;
    }

    void expectTimeOut(const FinishedProgram& finished) const
    {
        EXPECT_EQ(finished.status, 9);
        EXPECT_THAT(finished.errors, HasSubstr("no end within 1 s"));
        expectNothingLeft();
    }

    /// Neither a file, nor the lock.
    void expectNothingLeft() const
    {
        EXPECT_EQ(leftovers(), std::set<std::string>());
        const auto lock = ostrel::Descriptor::open(pipe("web", "lock"), O_WRONLY);
        EXPECT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
    }

    std::string pem;
};

// The lock and the command FIFO are there, and nobody reads.
TEST_F(TimeOut, ComesWhileNobodyTakesTheMessage)
{
    support::writeText(pipe("web", "lock"), "");
    ASSERT_EQ(::mkfifo(pipe("web", "in").c_str(), 0600), 0);
    for (const Words& words : waiting()) {
        SCOPED_TRACE(testing::PrintToString(words));
        expectTimeOut(run(hurried(words)));
    }
}

TEST_F(TimeOut, ComesWhileNobodyOpensTheReply)
{
    ScriptedPeer peer(device, "web");
    for (const Words& words : waiting()) {
        SCOPED_TRACE(testing::PrintToString(words));
        peer.play([](ScriptedPeer::Call& call) { call.takeMessage(); });
        expectTimeOut(run(hurried(words)));
        peer.finish();
    }
}

TEST_F(TimeOut, ComesInTheMiddleOfAReply)
{
    ScriptedPeer peer(device, "web");
    for (const Words& words : waiting()) {
        SCOPED_TRACE(testing::PrintToString(words));
        std::promise<void> isOver;
        peer.play([&](ScriptedPeer::Call& call) {
            call.takeMessage();
            call.openReply();
            call.send("0 part of an ans");
            isOver.get_future().wait();
        });
        expectTimeOut(run(hurried(words)));
        isOver.set_value();
        peer.finish();
    }
}

TEST_F(TimeOut, IsInTheJsonToo)
{
    support::writeText(pipe("web", "lock"), "");
    ASSERT_EQ(::mkfifo(pipe("web", "in").c_str(), 0600), 0);
    const auto answer = answerTo({"ca", "add", "web", pem, "--timeout", "1"});
    EXPECT_EQ(answer["error"]["status"], "time-out");
    EXPECT_EQ(answer["counts"]["notSent"], 1);
    EXPECT_EQ(answerTo({"reload", "web", "--timeout=1"})["error"]["exitStatus"], 9);
}

TEST_F(TimeOut, ComesWhileTheStandardInputIsSilent)
{
    const std::string silent = files / "silent";
    ASSERT_EQ(::mkfifo(silent.c_str(), 0600), 0);
    const auto writer = ostrel::Descriptor::open(silent, O_RDWR);
    daemon.start();
    expectTimeOut(cli_case::runWithInput({"ca", "add", "web", "-", "--timeout", "1"}, silent));
    expectTimeOut(run({"ca", "add", "web", silent, "--timeout", "1"}));
}

// A file stream takes no notice of signals.
TEST_F(TimeOut, ComesWhileSomethingBlocksThatNoSignalInterrupts)
{
    const std::string info = device.serviceDirectory() + "/stuck.conf";
    ASSERT_EQ(::mkfifo(info.c_str(), 0600), 0);
    const auto writer = ostrel::Descriptor::open(info, O_RDWR);
    const FinishedProgram finished = run({"status", "stuck", "--timeout", "1", "--json"});
    EXPECT_EQ(finished.status, 9);
    EXPECT_EQ(cli_case::json::parse(finished.output)["error"]["status"], "time-out");
    EXPECT_THAT(finished.errors, HasSubstr("no end in time"));
}

TEST_F(TimeOut, DoesNotComeAfterAReplyInTime)
{
    ScriptedPeer peer(device, "web");
    for (const char* timeout : {"5", "0"}) {
        peer.answer("0 running");
        EXPECT_EQ(run({"status", "web", "--timeout", timeout}).status, 0);
    }
}

/// The signals by which people and systems end a program.
class Signal : public TimeOut, public testing::WithParamInterface<int>
{
};

TEST_P(Signal, EndsTheProgramAndLeavesNothingBehind)
{
    ScriptedPeer peer(device, "web");
    std::promise<void> isMet;
    peer.play([&](ScriptedPeer::Call& call) {
        call.takeMessage();
        isMet.set_value();
    });
    const pid_t child = support::startProgram(cli_case::commandLine({"ca", "add", "web", pem}),
                                              files / "output", files / "errors");
    isMet.get_future().wait();
    ::kill(child, GetParam());
    EXPECT_EQ(support::awaitEnd(child), -GetParam());
    EXPECT_THAT(support::readText(files / "errors"), HasSubstr("interrupted"));
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(Of, Signal, testing::Values(SIGINT, SIGTERM, SIGHUP));

} // namespace
