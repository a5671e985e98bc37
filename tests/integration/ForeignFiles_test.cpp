// Files that a client leaves in the pipe directory, where the daemon finds
// them.

#include "integration/DaemonCase.h"
#include "support/ScriptedClient.h"
#include "support/TestCertificate.h"

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using daemon_case::payload;

class ForeignFiles : public daemon_case::WithDaemon
{
};

void putAnothersDirectory(const std::string& path)
{
    fs::create_directory(path);
    support::writeText(path + "/id_cn.map", "0123 forged\n");
    if (support::Accounts::hasOtherIds()) {
        ASSERT_EQ(::chown(path.c_str(), 4712, 4712), 0);
    }
}

/// A client creates a file with the name of a store's directory before the
/// service has that store.
TEST_F(ForeignFiles, AreReplacedByTheDirectoryOfAnAddedStore)
{
    const struct {
        const char* sentence;
        void (*put)(const std::string& path);
    } rows[] = {
        {"a symbolic link",
         [](const std::string& path) { fs::create_directory_symlink("/etc", path); }},
        {"a FIFO", [](const std::string& path) { ::mkfifo(path.c_str(), 0600); }},
        {"a file", [](const std::string& path) { support::writeText(path, "text"); }},
        {"another user's directory", putAnothersDirectory},
        {"nothing", [](const std::string&) {}},
    };
    const std::string directory = device.pipesDirectory() + "/vpn/client";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        fs::remove_all(directory);
        row.put(directory);
        device.addService("vpn",
                          std::string(daemon_case::vpnConfiguration) + "trustedClients yes\n");
        daemon.reload("vpn: configuration read again");
        struct stat status {
        };
        ASSERT_EQ(::lstat(directory.c_str(), &status), 0);
        EXPECT_TRUE(S_ISDIR(status.st_mode));
        EXPECT_EQ(status.st_uid, ::geteuid());
        EXPECT_EQ(support::readText(directory + "/id_cn.map"), "");
        device.addService("vpn", daemon_case::vpnConfiguration);
        daemon.reload("vpn: configuration read again");
    }
}

TEST_F(ForeignFiles, KeepTheirModeWhenTheLockFileIsAHardLinkToThem)
{
    daemon.stop();
    const std::string file = device.pipesDirectory() + "/file";
    support::writeText(file, "text");
    fs::permissions(file, fs::perms(0600));
    fs::remove(pipe("web", "lock"));
    fs::create_hard_link(file, pipe("web", "lock"));
    daemon.start();
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::hard_link_count(file), 1U);
}

TEST_F(ForeignFiles, CannotBeCreatedBeforeTheDaemonsFilesExist)
{
    daemon.stop();
    fs::remove_all(pipeDirectory("web"));
    const std::string list = device.storeDirectory() + "/web/ca/.cacheddata/list.txt";
    fs::remove(list);
    fs::create_directory(list);
    daemon.start();
    EXPECT_EQ(fs::status(pipeDirectory("web")).permissions(), fs::perms(01700));
    fs::remove(list);
    daemon.reload("web: served");
    EXPECT_EQ(fs::status(pipeDirectory("web")).permissions(), fs::perms(01730));
}

TEST_F(ForeignFiles, LeftByAKilledAdditionAreRemovedAtTheStart)
{
    const std::string left = pipeDirectory("web") + "/left.crt";
    const std::string other = pipeDirectory("web") + "/other";
    support::writeText(left, "text");
    support::writeText(other, "text");
    {
        // This client is still in its call, so the file may be in use.
        const support::ScriptedClient client(device, "web", "", support::Step::TakesLock);
        daemon.restart();
        EXPECT_TRUE(fs::exists(left));
    }
    daemon.restart();
    EXPECT_FALSE(fs::exists(left));
    EXPECT_TRUE(fs::exists(other));
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
}

TEST_F(ForeignFiles, WithAnyNameKeepNoServiceDown)
{
    daemon.stop();
    const std::string loop = pipeDirectory("web") + "/loop.crt";
    const std::string tooLong = pipeDirectory("web") + "/long.crt";
    const std::string directory = pipeDirectory("web") + "/directory.crt";
    fs::create_symlink(loop, loop);
    fs::create_symlink(std::string(300, 'x'), tooLong);
    fs::create_directory(directory);
    daemon.start();
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
    EXPECT_FALSE(fs::is_symlink(loop));
    EXPECT_FALSE(fs::is_symlink(tooLong));
    EXPECT_TRUE(fs::is_directory(directory));
}

TEST_F(ForeignFiles, WithAnyNameInAStoreKeepNoServiceDown)
{
    ostrelApi::OstrelService web("web");
    const std::string id = web.addCA(support::TestCertificate().pem());
    daemon.stop();
    const std::string store = device.storeDirectory() + "/web/ca/";
    for (const std::string& directory : {store, store + ".cacheddata/"}) {
        fs::create_symlink(directory + "loop", directory + "loop");
        fs::create_symlink(std::string(300, 'x'), directory + "long");
    }
    const std::string list = store + ".cacheddata/list.txt";
    support::writeText(list, "../../etc\n.cacheddata\n" + id + "\n" + std::string(300, 'f') + '\n');
    daemon.start();
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
    EXPECT_EQ(support::readText(list), id + '\n');
    EXPECT_FALSE(fs::is_symlink(store + "loop"));
}

TEST_F(ForeignFiles, LeaveNoTextInTheLockFile)
{
    daemon.stop();
    support::writeText(pipe("web", "lock"), std::string(100000, 'x'));
    daemon.start();
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
    EXPECT_EQ(fs::file_size(pipe("web", "lock")), 0U);
}

} // namespace
