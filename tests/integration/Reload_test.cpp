#include "integration/DaemonCase.h"

#include "support/CapturedErrors.h"
#include "support/ScriptedClient.h"
#include "support/TestCertificate.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <sys/stat.h>

namespace
{

using daemon_case::askStatus;
using daemon_case::payload;
using daemon_case::refusal;
using support::ScriptedClient;
using support::Step;
using support::TestCertificate;

const char readAgain[] = "web: configuration read again";

class Reload : public daemon_case::WithDaemon
{
protected:
    std::string add() const
    {
        const std::string path = pipeDirectory("web") + "/given.crt";
        support::writeText(path, TestCertificate().pem());
        return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandAdd, {path})
            .substr(0, payload("").size());
    }

    static gid_t groupOf(const std::string& path)
    {
        struct stat status {
        };
        return ::stat(path.c_str(), &status) == 0 ? status.st_gid : static_cast<gid_t>(-1);
    }

    void configureWeb(const std::string& settings) const
    {
        device.addService("web", daemon_case::webConfiguration + settings);
    }

    const std::string full = refusal(32).substr(0, payload("").size());
};

TEST_F(Reload, ServesAnAddedService)
{
    device.addService("mail", "managmentGroup ostrel\nca yes\n");
    EXPECT_EQ(askStatus("mail"), refusal(11));
    daemon.reload("mail: served");
    EXPECT_EQ(askStatus("mail"), payload("running"));
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Reload, StopsServingARemovedService)
{
    // The object reads the configuration before the removal.
    ostrelApi::OstrelService vpn("vpn");
    EXPECT_TRUE(vpn.isServiceRunning());
    std::filesystem::remove(device.serviceDirectory() + "/vpn.conf");
    daemon.reload("vpn: ended");
    EXPECT_THAT(daemon.log(), testing::HasSubstr("vpn: its configuration is gone"));
    try {
        vpn.isServiceRunning();
        ADD_FAILURE() << "still served";
    } catch (const ostrelApi::OstrelApiException& caught) {
        EXPECT_EQ(caught.getErrorMessage(), refusal(11));
    }
    EXPECT_EQ(askStatus("web"), payload("running"));
    device.addService("vpn", daemon_case::vpnConfiguration);
    daemon.reload("vpn: served");
    EXPECT_TRUE(vpn.isServiceRunning());
}

TEST_F(Reload, AppliesAChangedLimit)
{
    EXPECT_EQ(add(), payload(""));
    configureWeb("maximumCA 1\n");
    EXPECT_EQ(add(), payload(""));
    daemon.reload(readAgain);
    EXPECT_EQ(add(), full);
    configureWeb("maximumCA 3\n");
    EXPECT_EQ(daemon_case::ask("web", ostrel::TargetConfig, ostrel::CommandReload), payload(""));
    EXPECT_EQ(add(), payload(""));
    EXPECT_EQ(add(), full);
}

TEST_F(Reload, AppliesAChangedGroup)
{
    const gid_t others = support::Accounts::hasOtherIds() ? 4720 : 0;
    support::Accounts::addGroup("others:x:" + std::to_string(others) + ":");
    ostrelApi::OstrelService service("web");
    const std::string id = service.addCA(TestCertificate().pem());
    daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandSetOverwrittenData,
                     {id, "alias", "Lobby"});
    const std::string paths[] = {
        pipeDirectory("web"),
        pipe("web", "in"),
        pipe("web", "lock"),
        pipeDirectory("web") + "/ca",
        pipeDirectory("web") + "/ca/id_cn.map",
        device.storeDirectory() + "/web",
        service.getCADirectory(),
        service.getCADirectory() + id,
        service.getCADirectory() + ".cacheddata/list.txt",
        service.getCADirectory() + ".cacheddata/" + id + ".overwrite",
    };
    device.addService("web", "managmentGroup others\nca yes\n");
    service.reloadService();
    for (const std::string& path : paths) {
        EXPECT_EQ(groupOf(path), others) << path;
    }
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Reload, AddsAndRemovesStores)
{
    const std::string list = daemon_case::ask("vpn", ostrel::TargetClient, ostrel::CommandList);
    EXPECT_EQ(list, refusal(7));
    device.addService("vpn", std::string(daemon_case::vpnConfiguration) + "trustedClients yes\n");
    daemon.reload("vpn: configuration read again");
    EXPECT_EQ(daemon_case::ask("vpn", ostrel::TargetClient, ostrel::CommandList), payload(""));
    device.addService("vpn", daemon_case::vpnConfiguration);
    daemon.reload("vpn: configuration read again");
    EXPECT_EQ(daemon_case::ask("vpn", ostrel::TargetClient, ostrel::CommandList), refusal(7));
}

TEST_F(Reload, KeepsTheFormerConfigurationWhenTheNewOneIsBroken)
{
    configureWeb("maximumCA 1\n");
    daemon.reload(readAgain);
    EXPECT_EQ(add(), payload(""));
    // The client keeps the configuration that it was constructed with.
    ostrelApi::OstrelService client("web");
    for (const char* broken : {"managmentGroup no-such-group\nca yes\nmaximumCA 9\n",
                               "managmentGroup ostrel\nca yes\nmaximumCA 9\nserver yes\n"}) {
        device.addService("web", broken);
        daemon.reload("web: failed to read the configuration again: ");
        const support::CapturedTrace trace;
        EXPECT_THROW(client.addCA(TestCertificate().pem()), ostrelApi::OstrelApiException);
        EXPECT_THAT(trace.text(), testing::HasSubstr("Too many CA")) << broken;
        EXPECT_EQ(client.getCAList().size(), 1U) << broken;
    }
    configureWeb("maximumCA 2\n");
    daemon.reload(readAgain);
    EXPECT_EQ(add(), payload(""));
}

TEST_F(Reload, IsRefusedToACallerWhenTheConfigurationIsBroken)
{
    ostrelApi::OstrelService service("web");
    device.addService("web", "managmentGroup no-such-group\nca yes\n");
    try {
        service.reloadService();
        ADD_FAILURE() << "not refused";
    } catch (const ostrelApi::OstrelApiException& caught) {
        EXPECT_EQ(caught.getErrorMessage(), refusal(8));
    }
    EXPECT_TRUE(service.isServiceRunning());
}

TEST_F(Reload, ServesAServiceWhoseConfigurationWasBrokenAtTheStart)
{
    device.addService("mail", "managmentGroup no-such-group\n");
    daemon.reload("mail: not served: ");
    device.addService("mail", "managmentGroup ostrel\n");
    daemon.reload("mail: served");
    EXPECT_EQ(askStatus("mail"), payload("running"));
}

TEST_F(Reload, ServesAgainAServiceWhoseProcessEnded)
{
    ScriptedClient client(device, "web", "", Step::OpensCommandFifo);
    const support::RunningDaemon::LogMark mark(daemon);
    std::filesystem::remove(pipe("web", "in"));
    client.kill();
    mark.await("web: no longer served: ");
    mark.await("web: served");
    EXPECT_EQ(askStatus("web"), payload("running"));
}

TEST_F(Reload, KeepsTheServicesWhileTheServiceDirectoryIsUnreadable)
{
    ostrelApi::OstrelService client("web");
    const char away[] = "/etc/ostrel/away";
    std::filesystem::rename(device.serviceDirectory(), away);
    daemon.reload("what is served stays: cannot read " + device.serviceDirectory());
    EXPECT_TRUE(client.isServiceRunning());
    std::filesystem::rename(away, device.serviceDirectory());
    daemon.reload(readAgain);
    EXPECT_EQ(askStatus("vpn"), payload("running"));
    EXPECT_THAT(daemon.log(), testing::Not(testing::HasSubstr("its configuration is gone")));
}

} // namespace
