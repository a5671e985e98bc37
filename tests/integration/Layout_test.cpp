#include "integration/DaemonCase.h"
#include "integration/StoreOnDisk.h"

#include "support/ChildProcess.h"

#include <ostrel/Tools.h>

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using daemon_case::StoreOnDisk;
using support::TestCertificate;
using testing::StartsWith;

class Layout : public daemon_case::WithDevice
{
protected:
    Layout()
    {
        fs::remove_all(pipeDirectory("web"));
        fs::remove_all(pipeDirectory("vpn"));
        support::Accounts::addUser("manager:x:4712:4712::/:/bin/sh");
        daemon.start();
    }

    /// Type, mode and group: "p 620 4711".
    static std::string rights(const std::string& path)
    {
        struct stat status {
        };
        if (::lstat(path.c_str(), &status) != 0) {
            return "missing";
        }
        char text[64];
        std::snprintf(text, sizeof text, "%c %o %u",
                      S_ISDIR(status.st_mode)    ? 'd'
                      : S_ISFIFO(status.st_mode) ? 'p'
                                                 : '-',
                      static_cast<unsigned>(status.st_mode & 07777U), status.st_gid);
        return text;
    }

    static std::string managers(const std::string& typeAndMode)
    {
        return typeAndMode + ' ' + std::to_string(daemon_case::managersId());
    }

    std::string store(const std::string& path) const { return device.storeDirectory() + path; }
    std::string pipes(const std::string& path) const { return device.pipesDirectory() + path; }
};

TEST_F(Layout, GrantsTheManagementGroupOnlyTheRightsThatACallNeeds)
{
    ostrelApi::OstrelService service("web");
    const std::string ca = service.addCA(TestCertificate().pem());
    const std::string client = service.addTrustedClient(TestCertificate().pem());
    daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandSetOverwrittenData,
                     {ca, "alias", "Lobby"});
    const struct {
        std::string path;
        const char* typeAndMode;
    } rows[] = {
        // The sticky bit stops a member of the group from removing files of other members or of the
        // daemon.
        {pipes("/web"), "d 1730"},
        {pipes("/web/web.lock"), "- 620"},
        {pipes("/web/web.in"), "p 620"},
        {pipes("/web/ca"), "d 710"},
        {pipes("/web/ca/id_cn.map"), "- 640"},
        {pipes("/web/ca/" + ca + ".info"), "- 640"},
        {pipes("/web/ca/" + ca + ".detail"), "- 640"},
        {pipes("/web/client"), "d 710"},
        {pipes("/web/client/id_cn.map"), "- 640"},
        {pipes("/web/client/" + client + ".info"), "- 640"},
        {pipes("/web/client/" + client + ".detail"), "- 640"},
        // Searchable for everyone: the key group passes through.
        {store("/web"), "d 751"},
        {store("/web/ca"), "d 750"},
        {store("/web/ca/" + ca), "- 640"},
        {store("/web/ca/.cacheddata"), "d 710"},
        {store("/web/ca/.cacheddata/list.txt"), "- 640"},
        // Applications write this file themselves.
        {store("/web/ca/.cacheddata/" + ca + ".overwrite"), "- 660"},
        {store("/web/client"), "d 750"},
        {store("/web/client/" + client), "- 640"},
        {store("/web/client/.cacheddata"), "d 710"},
        {store("/web/client/.cacheddata/list.txt"), "- 640"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(rights(row.path), managers(row.typeAndMode)) << row.path;
    }
    EXPECT_EQ(rights(pipes("/web/web.out")), "missing");
}

TEST_F(Layout, HasNoDirectoryForAStoreThatTheServiceLacks)
{
    EXPECT_EQ(rights(store("/vpn/ca")), managers("d 750"));
    EXPECT_EQ(rights(store("/vpn/client")), "missing");
    EXPECT_EQ(rights(pipes("/vpn/client")), "missing");
}

TEST_F(Layout, StartsWithAnEmptyListAndMap)
{
    ostrelApi::OstrelService service("web");
    EXPECT_TRUE(service.getCAList().empty());
    EXPECT_TRUE(service.getCAListByCN("").empty());
    EXPECT_TRUE(service.getTrustedClientList().empty());
    EXPECT_TRUE(service.getTrustedClientListByCN("").empty());
}

TEST_F(Layout, RevertsRightsThatSomebodyAdded)
{
    daemon.stop();
    const std::string paths[] = {pipes("/web"), pipes("/web/ca"), store("/web"), store("/web/ca"),
                                 store("/web/ca/.cacheddata")};
    for (const std::string& path : paths) {
        ASSERT_EQ(::chmod(path.c_str(), 0777), 0);
    }
    daemon.start();
    EXPECT_EQ(rights(paths[0]), managers("d 1730"));
    EXPECT_EQ(rights(paths[1]), managers("d 710"));
    EXPECT_EQ(rights(paths[2]), managers("d 751"));
    EXPECT_EQ(rights(paths[3]), managers("d 750"));
    EXPECT_EQ(rights(paths[4]), managers("d 710"));
}

TEST_F(Layout, IsRestoredAfterARestartWithoutThePipesDirectory)
{
    const StoreOnDisk files("web", "ca");
    ostrelApi::OstrelService service("web");
    for (int i = 0; i < 3; ++i) {
        service.addCA(TestCertificate().pem());
    }
    const std::string map = support::readText(files.cnMapPath());
    const std::string info = support::readText(files.certInfoPath(files.ids()[0]));
    for (const int signal : {SIGTERM, SIGKILL}) {
        daemon.stop(signal);
        fs::remove_all(device.pipesDirectory());
        fs::create_directory(device.pipesDirectory());
        daemon.start();
        EXPECT_EQ(files.fault(), "");
        EXPECT_EQ(support::readText(files.cnMapPath()), map);
        EXPECT_EQ(support::readText(files.certInfoPath(files.ids()[0])), info);
        EXPECT_TRUE(service.isServiceRunning());
    }
}

/// Makes every kind of call as another user.
std::string workAsUser(gid_t extraGroup, const std::string& certificate)
{
    return support::inChild([&]() -> std::string {
        if (::setgroups(1, &extraGroup) != 0 || ::setgid(4712) != 0 || ::setuid(4712) != 0) {
            return "no such user";
        }
        ostrelApi::OstrelService service("web");
        if (!service.isServiceRunning()) {
            return "not running";
        }
        const std::string id = service.addCA(certificate);
        const bool isRead = service.getCA(id) == certificate && service.getCAList().size() == 1 &&
                            service.getIdCA(certificate) == id &&
                            service.getCAListByCN("Test CA").size() == 1;
        service.revokeCA(id);
        return isRead ? "done" : "not read back";
    });
}

TEST_F(Layout, AllowsCallsOnlyToMembersOfTheManagementGroup)
{
    if (!support::Accounts::hasOtherIds()) {
        GTEST_SKIP() << "an ordinary user's namespace has no second id";
    }
    const std::string text = TestCertificate().pem();
    EXPECT_EQ(workAsUser(daemon_case::managersId(), text), "done");
    EXPECT_THAT(workAsUser(4713, text),
                StartsWith("[ostrelApi::CallError: " + daemon_case::refusal(3)));
}

} // namespace
