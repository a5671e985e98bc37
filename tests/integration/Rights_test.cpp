// Compares the table of rights in docs/FILES.md with the files that the daemon
// creates.

#include "integration/ServerCase.h"
#include "support/Document.h"

#include <ostrel/DaemonConfiguration.h>

#include <cstdio>
#include <set>

namespace
{

namespace fs = std::filesystem;
using ostrel::DaemonConfiguration;
using support::Document;
using support::TestCertificate;

void replace(std::string& text, const std::string& from, const std::string& to)
{
    const std::size_t at = text.find(from);
    if (at != std::string::npos) {
        text.replace(at, from.size(), to);
    }
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string octal(mode_t mode)
{
    char text[16];
    std::snprintf(text, sizeof text, "%o", static_cast<unsigned>(mode));
    return text;
}

/// A service with something in each of its stores.
class Rights : public server_case::WithServer
{
protected:
    Rights()
    {
        configure("ca yes\ntrustedClients yes\n");
        fs::remove_all(pipeDirectory("web"));
        daemon.start();
        ids["ca"] = web().addCA(TestCertificate().pem());
        ids["client"] = web().addTrustedClient(TestCertificate().pem());
        ids["server"] = applyNew();
        web().createServerCsr();
    }

    /// The file that a path of the table stands for, with `store` in place of
    /// T.
    std::string fileOf(std::string path, const std::string& store) const
    {
        const std::string& root =
            path[0] == 'R' ? device.storeDirectory() : device.pipesDirectory();
        replace(path, "/S", "/web");
        replace(path, "/S.", "/web.");
        replace(path, "/T", '/' + store);
        replace(path, "<id>", ids.at(store));
        return root + path.substr(1);
    }

    /// Every file that a path of the table stands for.
    std::set<std::string> filesOf(const std::string& path) const
    {
        std::set<std::string> files;
        for (const auto& [store, id] : ids) {
            if (contains(path, "/T") || contains(path, '/' + store + '/')) {
                files.insert(fileOf(path, store));
            }
        }
        return files.empty() ? std::set<std::string>{fileOf(path, "ca")} : files;
    }

    std::map<std::string, std::string> ids;
};

TEST_F(Rights, MatchTheTableAndTheTableListsEveryFile)
{
    std::set<std::string> listed;
    for (const Document::Row& row : support::readDocument("FILES.md").table("rights")) {
        for (const std::string& file : filesOf(row[0])) {
            EXPECT_EQ(octal(server_case::modeOf(file)), row[1]) << file;
            listed.insert(file);
        }
    }
    for (const std::string& root : {device.storeDirectory(), device.pipesDirectory()}) {
        for (const auto& entry : fs::recursive_directory_iterator(root + "/web")) {
            EXPECT_EQ(listed.count(entry.path()), 1U) << entry.path() << " is not in the table";
        }
    }
}

TEST_F(Rights, BelongToTheManagementGroup)
{
    for (const std::string& root : {device.storeDirectory(), device.pipesDirectory()}) {
        for (const auto& entry : fs::recursive_directory_iterator(root + "/web")) {
            struct stat status {
            };
            ASSERT_EQ(::lstat(entry.path().c_str(), &status), 0);
            EXPECT_EQ(status.st_gid, daemon_case::managersId()) << entry.path();
        }
    }
}

TEST_F(Rights, LetEveryoneReadOnlyTheProcessIdFile)
{
    EXPECT_EQ(octal(server_case::modeOf(DaemonConfiguration::getLockFile())), "600");
    EXPECT_EQ(octal(server_case::modeOf(DaemonConfiguration::getPidFile())), "644");
}

} // namespace
