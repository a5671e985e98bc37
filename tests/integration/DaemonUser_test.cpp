// A daemon that root started: the processes of its services are another user's.

#include "integration/ProcessTable.h"
#include "integration/SlowWork.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using daemon_case::askStatus;
using daemon_case::payload;
using daemon_case::statusOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr uid_t user = 4713;
constexpr gid_t otherGroup = 4715;

const char ids[] = "4713\t4713\t4713\t4713";

uid_t ownerOf(const std::string& path)
{
    struct stat status {
    };
    return ::lstat(path.c_str(), &status) == 0 ? status.st_uid : static_cast<uid_t>(-1);
}

gid_t groupOf(const std::string& path)
{
    struct stat status {
    };
    return ::lstat(path.c_str(), &status) == 0 ? status.st_gid : static_cast<gid_t>(-1);
}

class DaemonUser : public server_case::WithServer
{
protected:
    DaemonUser()
    {
        support::Accounts::addUser("certd:x:4713:4713::/:/bin/sh");
        for (const char* line : {"certd:x:4713:", "keys:x:4714:", "others:x:4715:"}) {
            support::Accounts::addGroup(line);
        }
        for (const std::string& path : {support::boxDirectory(), device.pipesDirectory()}) {
            fs::permissions(path, fs::perms(0755));
        }
        configureFor("ostrel");
        setDaemonUser("root", "certd");
    }

    void SetUp() override
    {
        if (!support::Accounts::hasOtherIds()) {
            GTEST_SKIP() << "no other user exists in this namespace: this needs real root";
        }
    }

    static void setDaemonUser(const std::string& former, const std::string& name)
    {
        const std::string path = "/etc/ostrel/config.daemon";
        std::string text = support::readText(path);
        const std::string line = "daemonUser " + former + '\n';
        text.replace(text.find(line), line.size(), "daemonUser " + name + '\n');
        support::Device::writeDaemonConfiguration(text);
    }

    void configureFor(const std::string& group, const std::string& settings = "") const
    {
        device.addService("web", "name Web server\nmanagmentGroup " + group +
                                     "\nkeyGroup keys\nserver yes\nca yes\n"
                                     "cnfFile /etc/ostrel/web.cnf\n" +
                                     settings);
    }

    void expectTheirs() const
    {
        for (const auto& entry :
             fs::recursive_directory_iterator(device.storeDirectory() + "/web")) {
            EXPECT_EQ(ownerOf(entry.path()), user) << entry.path();
        }
        for (const char* suffix : {"in", "lock"}) {
            EXPECT_EQ(ownerOf(pipe("web", suffix)), user) << suffix;
        }
    }

    static void expectAllCallsWork()
    {
        const std::string certificate = support::TestCertificate().pem();
        const std::string id = web().addCA(certificate);
        EXPECT_EQ(web().getCA(id), certificate);
        const std::string own = applyNew();
        EXPECT_TRUE(support::isKeyOf(web().getServerCertificate(own), web().getServerKey(own)));
        web().revokeCA(id);
        EXPECT_EQ(askStatus("web"), payload("running"));
    }
};

TEST_F(DaemonUser, RunsTheServicesWithTheirGroupsAndNoCapability)
{
    daemon.start();
    EXPECT_THAT(statusOf(daemon.pid(), "Uid"), StartsWith("0\t"));
    const pid_t process = daemon.pidOf("web");
    EXPECT_EQ(statusOf(process, "Uid"), ids);
    EXPECT_EQ(statusOf(process, "Gid"), ids);
    EXPECT_EQ(statusOf(process, "Groups"), "4711 4713 4714 ");
    EXPECT_EQ(statusOf(daemon.pidOf("vpn"), "Groups"), "4711 4713 ");
    for (const char* set : {"CapEff", "CapPrm", "CapAmb"}) {
        EXPECT_EQ(statusOf(process, set), "0000000000000000") << set;
    }
    EXPECT_EQ(statusOf(process, "NoNewPrivs"), "1");
}

TEST_F(DaemonUser, OwnsWhatTheServicesMake)
{
    daemon.start();
    expectAllCallsWork();
    expectTheirs();
    daemon.restart();
    expectAllCallsWork();
    EXPECT_EQ(daemon.stop(), 0);
}

TEST_F(DaemonUser, TakesOverTheStoresOfADaemonThatRanAsRoot)
{
    setDaemonUser("certd", "root");
    daemon.start();
    const std::string certificate = support::TestCertificate().pem();
    const std::string id = web().addCA(certificate);
    const std::string own = applyNew();
    const std::string key = web().getServerKey(own);
    daemon.stop();
    EXPECT_EQ(ownerOf(paths.certPath(own)), 0U);
    setDaemonUser("root", "certd");
    daemon.start();
    EXPECT_EQ(web().getCA(id), certificate);
    EXPECT_EQ(web().getServerActiveCertificateId(), own);
    EXPECT_EQ(web().getServerKey(own), key);
    expectTheirs();
    expectAllCallsWork();
}

/// The user of the services could have put it there.
TEST_F(DaemonUser, IsNotGivenWhatTheStoresOnlyReferTo)
{
    daemon.start();
    daemon.stop();
    const std::string store = device.storeDirectory() + "/web/ca/";
    const std::string target = support::boxDirectory() + "/target";
    support::writeText(target + "/file", "text");
    support::writeText(support::boxDirectory() + "/linked", "text");
    fs::create_directory_symlink(target, store + "link");
    fs::create_hard_link(support::boxDirectory() + "/linked", store + "hard");
    daemon.start();
    EXPECT_EQ(askStatus("web"), payload("running"));
    EXPECT_EQ(ownerOf(target), 0U);
    EXPECT_EQ(ownerOf(target + "/file"), 0U);
    EXPECT_EQ(ownerOf(support::boxDirectory() + "/linked"), 0U);
}

TEST_F(DaemonUser, JoinsAChangedGroupOnAReload)
{
    daemon.start();
    const pid_t former = daemon.pidOf("web");
    configureFor("others");
    daemon.reload("web: served");
    EXPECT_NE(daemon.pidOf("web"), former);
    EXPECT_EQ(statusOf(daemon.pidOf("web"), "Groups"), "4713 4714 4715 ");
    EXPECT_EQ(groupOf(pipe("web", "lock")), otherGroup);
    expectAllCallsWork();
}

/// The reload makes a certificate, too, which takes a while.
TEST_F(DaemonUser, JoinsAChangedGroupForACallerThatReloads)
{
    daemon.start();
    ostrelApi::OstrelService caller("web");
    configureFor("others", "selfSignedGeneration yes\n");
    const support::RunningDaemon::LogMark mark(daemon);
    caller.reloadService();
    mark.await("web: served");
    EXPECT_NE(web().getServerActiveCertificateId(), "");
    expectAllCallsWork();
}

TEST_F(DaemonUser, RunsTheScripts)
{
    const std::string record = support::boxDirectory() + "/record";
    support::writeText(record, "");
    fs::permissions(record, fs::perms(0666));
    server_case::writeScript("changed", "echo changed $(id -u) >>record\n");
    server_case::writeScript("hook", "echo hook $(id -u) >>record\ncat /etc/ostrel/web.cnf\n");
    configureFor("ostrel", "callbackScript changed\ncnfHookFile hook\n");
    daemon.start();
    EXPECT_EQ(server_case::ask(ostrel::CommandCreateCsr), payload(""));
    support::awaitChange(record, "both scripts",
                         [&] { return support::readText(record) == "hook 4713\nchanged 4713\n"; });
}

TEST_F(DaemonUser, ThatDoesNotExistKeepsTheServicesFromBeingServed)
{
    setDaemonUser("certd", "nobody-there");
    daemon.start();
    EXPECT_THAT(daemon.log(),
                HasSubstr("web: not served: daemonUser 'nobody-there' does not exist"));
    EXPECT_EQ(askStatus("web"), daemon_case::refusal(11));
}

} // namespace
