#include "unit/api/ServiceCase.h"

#include "support/CapturedErrors.h"
#include "support/Interruption.h"
#include "tools/Descriptor.h"

#include <gmock/gmock.h>

#include <cstring>
#include <future>

#include <sys/file.h>

namespace
{

using service_case::messageStart;
using service_case::OstrelService;
using service_case::ServiceCase;
using support::apiError;
using support::Interruption;
using support::ScriptedPeer;
using support::thrownBy;

/// The two commands to the daemon that concern the whole service.
class ServiceCommand : public ServiceCase
{
protected:
    std::string thrownByIsRunning()
    {
        return thrownBy([&] { web.isServiceRunning(); });
    }
    std::string thrownByReload()
    {
        return thrownBy([&] { web.reloadService(); });
    }

    /// Expects that both commands throw the error of the exchange.
    void expectBothThrow(const std::string& expected)
    {
        EXPECT_EQ(thrownByIsRunning(), expected);
        EXPECT_EQ(thrownByReload(), expected);
    }

    OstrelService web{"web"};
    ScriptedPeer peer{device, "web"};
};

struct StatusRow {
    const char* sentence;
    std::string reply;
    bool expected;
};

TEST_F(ServiceCommand, OfStatusIsTrueOnlyForThePayloadRunning)
{
    const StatusRow rows[] = {
        {"running", "0 running", true},
        {"an empty payload", "0 ", false},
        {"without a blank, the whole reply is the payload", "0", false},
        {"another word", "0 stopped", false},
        {"a prefix of the word", "0 runnin", false},
        {"a longer word", "0 running ", false},
        {"a line feed after the word", "0 running\n", false},
        {"a second blank before the word", "0  running", false},
        {"capitals", "0 Running", false},
    };
    for (const StatusRow& row : rows) {
        peer.answer(row.reply);
        EXPECT_EQ(web.isServiceRunning(), row.expected) << row.sentence;
        EXPECT_EQ(peer.lastMessage(), messageStart() + "config\tstatus") << row.sentence;
    }
}

TEST_F(ServiceCommand, OfReloadIgnoresThePayload)
{
    for (const char* reply : {"0 ", "0", "0 anything at all"}) {
        peer.answer(reply);
        EXPECT_EQ(thrownByReload(), "nothing") << reply;
        EXPECT_EQ(peer.lastMessage(), messageStart() + "config\treload");
    }
}

TEST_F(ServiceCommand, OfReloadDoesNotChangeTheConfigurationOfTheObject)
{
    device.addService("web", "name Other\n");
    peer.answer("0 ");
    web.reloadService();
    EXPECT_EQ(web.getServiceName(), "Web server");
    EXPECT_TRUE(web.hasCA());
}

TEST_F(ServiceCommand, PassesOnEveryRefusalOfTheDaemon)
{
    for (int code = 1; code <= 43; ++code) {
        peer.answer(std::to_string(code) + " running");
        peer.answer(std::to_string(code) + " ");
        expectBothThrow(apiError(code));
    }
}

TEST_F(ServiceCommand, FailsAtOnceWhileTheServiceIsLocked)
{
    const auto holder = ostrel::Descriptor::open(peer.lockPath(), O_RDONLY);
    ASSERT_EQ(::flock(holder.get(), LOCK_EX), 0);
    expectBothThrow(apiError(2));
    EXPECT_TRUE(peer.messages().empty());
}

TEST_F(ServiceCommand, OfStatusThrowsWhenTheDaemonDoesNotRun)
{
    std::filesystem::remove(peer.lockPath());
    expectBothThrow(apiError(11));
    EXPECT_EQ(thrownByIsRunning(), "ostrelApi::CallError: Error -1: Generic exception "
                                   "(11 - Daemon is off)");
}

TEST_F(ServiceCommand, ReportsASignalThatEndsItsWait)
{
    Interruption interruption;
    peer.play([&](ScriptedPeer::Call& caller) {
        caller.takeMessage();
        interruption.untilOver();
    });
    const std::string thrown = thrownByReload();
    interruption.over();
    EXPECT_EQ(thrown, std::string("std::runtime_error: ") + std::strerror(EINTR));
}

TEST_F(ServiceCommand, ReturnsWhenTheDaemonEndsAtAnyPointOfTheCall)
{
    peer.hangUpAndAnswer("0 running");
    EXPECT_TRUE(web.isServiceRunning()) << "before the message, and another daemon answers";
    peer.finish();
    peer.hangUpAndAnswer("");
    EXPECT_EQ(thrownByIsRunning(), apiError(1)) << "before the message";
    peer.finish();
    peer.play([](ScriptedPeer::Call& caller) {
        caller.takeMessage();
        caller.openReply();
    });
    EXPECT_EQ(thrownByIsRunning(), apiError(1)) << "before the reply";
    peer.play([](ScriptedPeer::Call& caller) {
        caller.takeMessage();
        caller.openReply();
        caller.send("0 runn");
    });
    EXPECT_FALSE(web.isServiceRunning()) << "during the reply";
    peer.answer("0 running");
    EXPECT_TRUE(web.isServiceRunning()) << "with the next daemon";
    EXPECT_EQ(pipeFiles(), (std::set<std::string>{"web.in", "web.lock"}));
}

TEST_F(ServiceCommand, OfOneThreadLocksOutOtherThreadsUntilItsReply)
{
    service_case::HeldCall held(peer, "0 running");
    auto first = std::async(std::launch::async, [&] { return web.isServiceRunning(); });
    held.awaitCall();
    expectBothThrow(apiError(2));
    held.answer();
    EXPECT_TRUE(first.get());
    EXPECT_EQ(peer.messages().size(), 1U);
}

TEST_F(ServiceCommand, BuiltByTheCallerGetsItsUserAndPid)
{
    ostrel::Commands command;
    command.user = "somebody";
    command.target = ostrel::TargetClient;
    command.command = ostrel::CommandInfo;
    command.arguments = {"a", "b c"};
    peer.answer("0 what\nit says");
    EXPECT_EQ(web.sendCommandToServer(command), "what\nit says");
    EXPECT_EQ(peer.lastMessage(), messageStart() + "client\tinfo\ta\tb c");
    EXPECT_EQ(command.user, "root");
    EXPECT_EQ(command.pid, std::to_string(::getpid()));
}

TEST_F(ServiceCommand, IsSentToTheServiceByTheNameOfItsFile)
{
    device.addService("vpn", "name web\nmanagmentGroup root\n");
    OstrelService vpn("vpn");
    ScriptedPeer other(device, "vpn");
    other.answer("0 running");
    EXPECT_TRUE(vpn.isServiceRunning());
    EXPECT_EQ(other.messages().size(), 1U);
    EXPECT_TRUE(peer.messages().empty());
}

TEST_F(ServiceCommand, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    for (const char* reply : {"0 running", "7 ", " ", "", "x"}) {
        peer.answer(reply);
        peer.answer(reply);
        thrownByIsRunning();
        thrownByReload();
    }
    EXPECT_EQ(errors.text(), "");
}

} // namespace
