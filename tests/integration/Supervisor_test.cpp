// The supervisor and the processes of the services: what ends is started again, and nothing
// outlives the supervisor.

#include "integration/Caller.h"
#include "integration/ProcessTable.h"
#include "integration/SlowWork.h"

#include <gmock/gmock.h>

#include <chrono>
#include <numeric>
#include <regex>

namespace
{

namespace fs = std::filesystem;
using daemon_case::askStatus;
using daemon_case::Caller;
using daemon_case::payload;
using daemon_case::WatchedProcess;
using server_case::Waiter;
using support::RunningDaemon;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using namespace std::chrono_literals;

class Supervisor : public server_case::WithSlowHook
{
protected:
    Supervisor() : WithSlowHook("callbackScript changed\n")
    {
        server_case::writeScript("changed", callback.script());
    }

    void killService(const std::string& service, const std::string& text) const
    {
        const RunningDaemon::LogMark mark(daemon);
        ::kill(daemon.pidOf(service), SIGKILL);
        mark.await(service + text);
    }

    const Waiter callback{"callback"};
};

TEST_F(Supervisor, ShowsItsProcessesByName)
{
    daemon.start();
    if (daemon_case::statusOf(daemon.pid(), "Name").rfind("qemu", 0) == 0) {
        GTEST_SKIP() << "an emulator shows its own name and thread";
    }
    EXPECT_THAT(support::readText(daemon_case::procOf(daemon.pid(), "cmdline")),
                HasSubstr("ostreld"));
    EXPECT_EQ(daemon_case::statusOf(daemon.pid(), "Name"), "ostreld");
    EXPECT_EQ(daemon_case::childrenOf(daemon.pid()).size(), 2U);
    for (const char* service : {"web", "vpn"}) {
        EXPECT_EQ(daemon_case::statusOf(daemon.pidOf(service), "Name"),
                  std::string("ostreld: ") + service);
        EXPECT_EQ(daemon_case::statusOf(daemon.pidOf(service), "Threads"), "1");
    }
}

TEST_F(Supervisor, StartsAServiceAgainWhoseProcessWasKilled)
{
    daemon.start();
    for (int round = 0; round < 2; ++round) {
        killService("web", ": served");
        EXPECT_EQ(askStatus("web"), payload("running"));
        EXPECT_EQ(askStatus("vpn"), payload("running"));
    }
    EXPECT_THAT(daemon.log(), HasSubstr("web: ended by signal 9"));
}

/// The answer of the next process, or an error: the reply of the killed one is lost.
TEST_F(Supervisor, LeavesNoCallerWaitingWhoseServiceWasKilled)
{
    daemon.start();
    Caller creating([] { return server_case::ask(ostrel::CommandCreateCsr); });
    hook.awaitBegin();
    killService("web", ": served");
    EXPECT_EQ(creating.outcome(), daemon_case::refusal(10));
    Caller adding([] { return web().addCA(support::TestCertificate().pem()); });
    killService("web", ": served");
    EXPECT_NE(adding.outcome(), "still waiting");
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Supervisor, TakesItsServicesAndTheirProgramsWithItWhenItIsKilled)
{
    daemon.start();
    const std::string id = web().addCA(support::TestCertificate().pem());
    std::vector<std::unique_ptr<WatchedProcess>> processes;
    const auto watch = [&](pid_t pid) {
        processes.push_back(std::make_unique<WatchedProcess>(pid));
    };
    watch(callback.awaitBegin());
    Caller creating([] { return server_case::ask(ostrel::CommandCreateCsr); });
    watch(hook.awaitBegin());
    watch(daemon.pidOf("web"));
    watch(daemon.pidOf("vpn"));
    daemon.restart();
    for (const auto& process : processes) {
        EXPECT_TRUE(process->ends());
    }
    EXPECT_EQ(creating.outcome(), daemon_case::refusal(10));
    EXPECT_EQ(askStatus("web"), payload("running"));
    EXPECT_EQ(web().getCA(id).substr(0, 10), "-----BEGIN");
}

TEST_F(Supervisor, StartsAtOnceAfterItWasKilled)
{
    daemon.start();
    for (int round = 0; round < 5; ++round) {
        daemon.restart();
        ASSERT_EQ(askStatus("web"), payload("running"));
        ASSERT_EQ(askStatus("vpn"), payload("running"));
    }
    EXPECT_THAT(daemon.log(), Not(HasSubstr("another ostreld")));
}

TEST_F(Supervisor, TriesAgainByItselfWithAGrowingPause)
{
    device.addService("mail", "managmentGroup mailers\n");
    const auto begin = std::chrono::steady_clock::now();
    daemon.start();
    EXPECT_EQ(askStatus("web"), payload("running"));
    for (int attempt = 0; attempt < 2; ++attempt) {
        const RunningDaemon::LogMark mark(daemon);
        mark.await("mail: not served: ");
    }
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 3s) << "1 s and 2 s";
    const RunningDaemon::LogMark mark(daemon);
    support::Accounts::addGroup("mailers:x:" + std::to_string(daemon_case::managersId()) + ":");
    mark.await("mail: served");
    EXPECT_EQ(askStatus("mail"), payload("running"));
}

TEST_F(Supervisor, WaitsForItsServicesWhenTheirDirectoryCannotBeRead)
{
    const char away[] = "/etc/ostrel/away";
    fs::rename(device.serviceDirectory(), away);
    const RunningDaemon::LogMark mark(daemon);
    daemon.launch();
    mark.await("cannot read " + device.serviceDirectory());
    EXPECT_THAT(daemon.log(), Not(HasSubstr("serving")));
    fs::rename(away, device.serviceDirectory());
    daemon.awaitReady();
    EXPECT_THAT(daemon.log(), HasSubstr("serving 2 services"));
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Supervisor, IsNotDelayedByASlowScript)
{
    daemon.start({"--debug"});
    web().addCA(support::TestCertificate().pem());
    callback.awaitBegin();
    daemon.reload("web: configuration read again");
    const RunningDaemon::LogMark mark(daemon);
    ostrelApi::OstrelService::notifyNetwork();
    mark.await("web: done: check the addresses of the device");
    mark.await("vpn: done: check the addresses of the device");
    EXPECT_EQ(askStatus("vpn"), payload("running"));
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Supervisor, IsNotDelayedByASlowHook)
{
    daemon.start({"--debug"});
    Caller creating([] { return server_case::ask(ostrel::CommandCreateCsr); });
    hook.awaitBegin();
    daemon.reload("vpn: configuration read again");
    const RunningDaemon::LogMark mark(daemon);
    ostrelApi::OstrelService::notifyTime();
    mark.await("vpn: done: check the end of the certificate");
    EXPECT_EQ(askStatus("vpn"), payload("running"));
    hook.letGo();
    EXPECT_EQ(creating.outcome(), payload(""));
    mark.await("web: configuration read again");
}

/// The counts in the log, and the number of the lines.
TEST_F(Supervisor, LogsAFloodOfNotificationsInFewLines)
{
    constexpr std::size_t count = 50000;
    daemon.start();
    const RunningDaemon::LogMark mark(daemon);
    const auto fifo =
        ostrel::Descriptor::open(device.pipesDirectory() + "/notification.signal", O_WRONLY);
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_TRUE(ostrel::writeAll(fifo, "n"));
    }
    ASSERT_TRUE(ostrel::writeAll(fifo, "t"));
    mark.await("the time changed (notifications: 1)");
    const std::string log = daemon.log();
    const std::regex line(R"(network changed \(notifications: (\d+)\))");
    std::size_t sum = 0;
    std::size_t lines = 0;
    for (std::sregex_iterator match(log.begin(), log.end(), line), end; match != end; ++match) {
        sum += std::stoul((*match)[1]);
        ++lines;
    }
    EXPECT_EQ(sum, count);
    EXPECT_LE(lines, 10U);
}

TEST_F(Supervisor, LeavesNoZombie)
{
    daemon.start({"--debug"});
    killService("vpn", ": served");
    for (std::size_t i = 1; i <= 3; ++i) {
        const RunningDaemon::LogMark mark(daemon);
        Caller creating([] { return server_case::ask(ostrel::CommandCreateCsr); });
        hook.awaitBegin(i);
        hook.letGo();
        EXPECT_EQ(creating.outcome(), payload(""));
        callback.awaitBegin(i);
        callback.letGo();
        mark.await("web: callback for server-request done");
    }
    EXPECT_EQ(daemon_case::childrenOf(daemon.pid()).size(), 2U);
    for (const char* service : {"web", "vpn"}) {
        EXPECT_EQ(daemon_case::childrenOf(daemon.pidOf(service)).size(), 0U) << service;
    }
}

} // namespace
