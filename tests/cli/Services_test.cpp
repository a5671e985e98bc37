#include "cli/CliCase.h"

#include <ostrelApi/OstrelService.h>

namespace
{

using cli_case::answerTo;
using cli_case::run;
using testing::HasSubstr;
using testing::MatchesRegex;

using Services = cli_case::WithDaemon;

TEST_F(Services, AreListedByNameWithWhatTheyHold)
{
    addCA("One");
    const auto answer = answerTo({"services"});
    EXPECT_EQ(answer["daemonRunning"], true);
    ASSERT_EQ(answer["services"].size(), 2U);
    const auto& vpn = answer["services"][0];
    EXPECT_EQ(vpn["name"], "vpn");
    EXPECT_EQ(vpn["title"], "VPN gateway");
    EXPECT_EQ(vpn["stores"]["server"], nullptr);
    EXPECT_EQ(vpn["stores"]["ca"]["certificates"], 0);
    EXPECT_EQ(vpn["nextExpiry"], nullptr);
    const auto& web = answer["services"][1];
    EXPECT_EQ(web["name"], "web");
    EXPECT_EQ(web["running"], true);
    EXPECT_EQ(web["stores"]["ca"]["certificates"], 1);
    EXPECT_EQ(web["stores"]["client"]["certificates"], 0);
    EXPECT_EQ(web["nextExpiry"]["commonName"], "One");
    EXPECT_EQ(web["nextExpiry"]["validUntil"], "2040-01-01T00:00:00Z");
}

TEST_F(Services, AreATableForPeople)
{
    const auto shown = run({"services"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.errors, "");
    EXPECT_EQ(shown.output,
              "SERVICE  NAME         SERVER  CA  CLIENT  RUNNING  NEXT EXPIRY  DAYS\n"
              "vpn      VPN gateway  -       0   -       yes      -               -\n"
              "web      Web server   0       0   0       yes      -               -\n");
}

TEST_F(Services, ShowTheirLimits)
{
    configure("ca yes\nmaximumCA 7\n");
    EXPECT_THAT(run({"services"}).output, HasSubstr("0 of 7"));
    EXPECT_EQ(answerTo({"services"})["services"][1]["stores"]["ca"]["maximum"], 7);
}

TEST_F(Services, AreListedBesideOneWithABrokenConfiguration)
{
    device.addService("bad", "server yes\n");
    const auto answer = answerTo({"services"});
    ASSERT_EQ(answer["services"].size(), 3U);
    EXPECT_THAT(answer["services"][0]["problem"], HasSubstr("cnfFile must be defined"));
    EXPECT_EQ(answer["services"][1].count("problem"), 0U);
    EXPECT_THAT(run({"services"}).output, HasSubstr("PROBLEM"));
}

TEST_F(Services, AreNotRunningAfterTheDaemonStoppedOrWasKilled)
{
    daemon.stop();
    EXPECT_EQ(answerTo({"services"})["daemonRunning"], false);
    EXPECT_EQ(answerTo({"services"})["services"][1]["running"], false);
    daemon.start();
    EXPECT_EQ(answerTo({"services"})["services"][1]["running"], true);
    daemon.kill();
    EXPECT_EQ(answerTo({"services"})["services"][1]["running"], false);
}

TEST_F(Services, ReportTheStatusOfTheDaemonsReply)
{
    const auto answer = answerTo({"status", "web"});
    EXPECT_EQ(answer["running"], true);
    EXPECT_EQ(answer["title"], "Web server");
    EXPECT_EQ(answer["health"], 1);
    EXPECT_EQ(answer["operating"], 1);
    EXPECT_THAT(run({"status", "web"}).output, HasSubstr("running              yes\n"));
}

TEST_F(Services, AreReadAgainOnReload)
{
    const auto reloaded = run({"reload", "web"});
    EXPECT_EQ(reloaded.status, 0);
    EXPECT_EQ(reloaded.output, "web: configuration read again\n");
    EXPECT_EQ(answerTo({"reload", "web"})["reloaded"], true);
}

TEST_F(Services, TakeAnyCommandOfTheDaemon)
{
    EXPECT_EQ(run({"send", "web", "config", "status"}).output, "running\n");
    const std::string id = addCA("One");
    EXPECT_EQ(answerTo({"send", "web", "ca", "listByCN", "One"})["payload"], id);
    const auto unknown = run({"send", "web", "config", "frobnicate"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_THAT(unknown.errors, HasSubstr("Incorrect arguments received for: frobnicate"));
}

TEST_F(Services, PassChangesOfTheDeviceToTheDaemon)
{
    const support::RunningDaemon::LogMark mark(daemon);
    EXPECT_EQ(run({"notify", "network"}).status, 0);
    mark.await("the network changed");
    EXPECT_EQ(answerTo({"notify", "time"})["notified"], "time");
    mark.await("the time changed");
}

TEST_F(Services, AreAnEmptyListWithoutAConfiguration)
{
    for (const char* name : {"web", "vpn"}) {
        std::filesystem::remove(device.serviceDirectory() + '/' + name + ".conf");
    }
    EXPECT_EQ(answerTo({"services"})["services"], cli_case::json::array());
    EXPECT_EQ(run({"services"}).status, 0);
    EXPECT_EQ(run({"expiry"}).status, 0);
    EXPECT_EQ(run({"check-renewal"}).status, 0);
}

} // namespace
