#include "integration/DaemonCase.h"

#include "support/StartProgram.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

namespace
{

namespace fs = std::filesystem;
using daemon_case::askStatus;
using daemon_case::payload;
using daemon_case::refusal;
using support::RunningDaemon;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class Lifecycle : public daemon_case::WithDevice
{
protected:
    std::string pidFile() const { return device.pipesDirectory() + "/ostreld.pid"; }
};

TEST_F(Lifecycle, AcceptsItsOptions)
{
    const auto help = support::runProgram({RunningDaemon::path, "--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* option : {"--help", "--version", "--debug", "--ready-fd"}) {
        EXPECT_THAT(help.output, HasSubstr(option));
    }
    const auto version = support::runProgram({RunningDaemon::path, "--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.output, MatchesRegex("ostreld [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    for (const char* wrong : {"--no-such-option", "argument", "--ready-fd=-1", "--ready-fd=x"}) {
        const auto refused = support::runProgram({RunningDaemon::path, wrong});
        EXPECT_GT(refused.status, 0) << wrong;
        EXPECT_NE(refused.errors, "") << wrong;
    }
}

TEST_F(Lifecycle, EndsCleanlyOnSigtermAndSigint)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        daemon.start();
        EXPECT_EQ(support::readText(pidFile()), std::to_string(daemon.pid()) + '\n');
        EXPECT_EQ(askStatus("web"), payload("running"));
        EXPECT_EQ(daemon.stop(signal), 0);
        EXPECT_FALSE(fs::exists(pidFile()));
        EXPECT_EQ(askStatus("web"), refusal(11));
        EXPECT_EQ(askStatus("vpn"), refusal(11));
        EXPECT_FALSE(fs::exists(pipe("web", "out")));
    }
}

TEST_F(Lifecycle, ServiceIsOffBeforeTheFirstStart)
{
    EXPECT_EQ(askStatus("web"), refusal(11));
}

TEST_F(Lifecycle, RefusesASecondInstance)
{
    daemon.start();
    const auto second = support::runProgram({RunningDaemon::path});
    EXPECT_EQ(second.status, 13);
    EXPECT_EQ(second.errors,
              "ostreld: another ostreld holds " + device.pipesDirectory() + "/ostreld.lock\n");
    EXPECT_EQ(support::readText(pidFile()), std::to_string(daemon.pid()) + '\n');
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Lifecycle, StartsAfterAnotherInstanceWasKilled)
{
    daemon.start();
    daemon.kill();
    EXPECT_TRUE(fs::exists(pidFile()));
    daemon.start();
    EXPECT_EQ(support::readText(pidFile()), std::to_string(daemon.pid()) + '\n');
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Lifecycle, DoesNotStartWithoutAConfiguration)
{
    fs::remove("/etc/ostrel/config.daemon");
    const auto failed = support::runProgram({RunningDaemon::path});
    EXPECT_EQ(failed.status, 8);
    EXPECT_THAT(failed.errors, StartsWith("ostreld: "));
}

TEST_F(Lifecycle, LogsOneLineForEachEvent)
{
    daemon.start();
    const std::string before = daemon.log();
    askStatus("web");
    askStatus("vpn");
    EXPECT_EQ(askStatus("web"), payload("running"));
    const std::string events = daemon.log().substr(before.size());
    EXPECT_EQ(std::count(events.begin(), events.end(), '\n'), 3);
    EXPECT_THAT(events, StartsWith("ostreld: web: root "));
}

TEST_F(Lifecycle, LogsTheLibrarysTraceWithTheDebugOption)
{
    daemon.start();
    askStatus("web");
    EXPECT_THAT(daemon.log(), Not(HasSubstr("Group Id: ")));
    daemon.stop();
    daemon.start({"--debug"});
    EXPECT_THAT(daemon.log(), HasSubstr("Group Id: ostrel"));
}

TEST_F(Lifecycle, ServesTheOtherServicesWhenOneConfigurationIsBroken)
{
    device.addService("broken", "managmentGroup no-such-group\nca yes\n");
    daemon.start();
    EXPECT_THAT(daemon.log(), HasSubstr("broken: not served: "));
    EXPECT_EQ(askStatus("broken"), refusal(11));
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Lifecycle, DoesNotServeAServiceWithoutAName)
{
    device.addService("", "managmentGroup ostrel\nca yes\n");
    daemon.start();
    EXPECT_THAT(daemon.log(), HasSubstr(": not served: a service without a name"));
    EXPECT_FALSE(fs::exists(device.storeDirectory() + "/ca"));
    EXPECT_FALSE(fs::exists(device.pipesDirectory() + "/.lock"));
    EXPECT_EQ(askStatus("web"), payload("running"));
}

} // namespace
