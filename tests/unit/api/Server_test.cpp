#include "unit/api/StockedService.h"

#include <cstdint>
#include <functional>

#include <fcntl.h>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ostrelApi::ConfiguredField;
using service_case::Ids;
using service_case::messageStart;
using service_case::OstrelService;
using service_case::pem;
using service_case::StockedService;
using support::apiError;
using support::thrownBy;

class Server : public StockedService
{
protected:
    /// Adds a line to the service's configuration, for objects constructed from
    /// now on.
    void configure(const std::string& line) const
    {
        device.addService("web", "managmentGroup root\nserver yes\ncnfFile /unused\n" + line);
    }

    OstrelService web{"web"};
};

struct CommandRow {
    const char* sentence;
    std::function<void()> call;
    const char* message;
};

TEST_F(Server, SendsItsCommandsAndIgnoresTheirPayloads)
{
    const CommandRow rows[] = {
        {"a request", [this] { web.createServerCsr(); }, "server\tcreatecsr"},
        {"a request that need not comply", [this] { web.createServerCsr(ConfiguredField{false}); },
         "server\tcreatecsr"},
        {"a request that has to comply", [this] { web.createServerCsr(ConfiguredField{true}); },
         "server\tcreatecsr\tCA-CB_compliant"},
        {"the revocation of the active certificate", [this] { web.revokeServerCertificate(""); },
         "server\trevoke"},
        {"the revocation of any other id", [this] { web.revokeServerCertificate("anything"); },
         "server\trevoke"},
    };
    support::ScriptedPeer peer(device, "web");
    for (const CommandRow& row : rows) {
        for (const char* reply : {"0 ", "0", "0 a payload"}) {
            peer.answer(reply);
            EXPECT_EQ(thrownBy(row.call), "nothing") << row.sentence;
            EXPECT_EQ(peer.lastMessage(), messageStart() + row.message) << row.sentence;
        }
    }
}

TEST_F(Server, SendsItsCommandsForAnyStateOfItsStore)
{
    fs::remove_all(kept("server", ""));
    support::ScriptedPeer peer(device, "web");
    peer.answer("0 ");
    web.createServerCsr();
    peer.answer("0 ");
    web.revokeServerCertificate("");
    EXPECT_EQ(peer.messages().size(), 2U);
}

TEST_F(Server, ReturnsTheChangeTimeOfTheRequestFile)
{
    const timespec longAgo[] = {{1000000000, 0}, {1000000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, csr.c_str(), longAgo, 0), 0);
    struct stat status = {};
    ASSERT_EQ(::stat(csr.c_str(), &status), 0);
    const std::int64_t timestamp = web.getServerCsrTimestamp();
    EXPECT_EQ(timestamp, status.st_ctime);
    EXPECT_NE(timestamp, status.st_mtime);
}

TEST_F(Server, ReturnsZeroAsTheTimeOfAMissingRequest)
{
    fs::remove(csr);
    EXPECT_EQ(web.getServerCsrTimestamp(), 0) << "missing file";
    fs::create_symlink("nothing", csr);
    EXPECT_EQ(web.getServerCsrTimestamp(), 0) << "dangling link";
    fs::remove_all(kept("server", ""));
    EXPECT_EQ(web.getServerCsrTimestamp(), 0) << "missing directory";
}

struct TpmRow {
    const char* line;
    bool expected;
};

TEST_F(Server, ReportsTheFlagOfTheServiceForAnyKey)
{
    const TpmRow rows[] = {
        {"opensslEngine yes\n", true},
        {"opensslEngine no\n", false},
        {"opensslEngine Yes\n", false},
        {"", false},
    };
    for (const TpmRow& row : rows) {
        configure(row.line);
        OstrelService service("web");
        for (const char* id : {"", "1", "no such certificate"}) {
            EXPECT_EQ(service.isServerKeyInTPM(id), row.expected) << row.line << id;
        }
    }
    fs::remove(active);
    EXPECT_FALSE(web.isServerKeyInTPM("")) << "the active certificate is not checked";
}

struct ActiveRow {
    const char* sentence;
    std::string text;
    std::string expected;
};

TEST_F(Server, ReadsTheActiveIdFromTheFirstLineOfItsFile)
{
    const ActiveRow rows[] = {
        {"a line", "12\n", "12"},
        {"a line without an end", "12", "12"},
        {"more lines", "12\nmore\ntext", "12"},
        {"an empty file", "", ""},
        {"an empty first line", "\n12\n", ""},
        {"a carriage return, which belongs to the line", "12\r\n", "12\r"},
        {"blanks, which belong to the line", " 1 2 \n", " 1 2 "},
        {"a NUL, which belongs to the line", std::string("1\0002\n", 4), std::string("1\0002", 3)},
        {"a long line", std::string(100000, 'x') + "\ny", std::string(100000, 'x')},
    };
    for (const ActiveRow& row : rows) {
        support::writeText(active, row.text);
        EXPECT_EQ(web.getServerActiveCertificateId(), row.expected) << row.sentence;
        EXPECT_EQ(web.getServerCertificateList(), Ids{row.expected}) << row.sentence;
    }
}

TEST_F(Server, FailsWhenTheFileOfTheActiveIdCannotBeOpened)
{
    fs::remove(active);
    for (const char* kind : {"missing", "a socket"}) {
        EXPECT_EQ(thrownBy([&] { web.getServerActiveCertificateId(); }), apiError(1)) << kind;
        EXPECT_EQ(thrownBy([&] { web.getServerCertificateList(); }), apiError(1)) << kind;
        ::mknod(active.c_str(), S_IFSOCK | 0600, 0);
    }
}

TEST_F(Server, TreatsADirectoryAsAnEmptyFile)
{
    fs::remove(active);
    fs::create_directory(active);
    EXPECT_EQ(web.getServerActiveCertificateId(), "");
    EXPECT_EQ(web.getServerCertificateList(), Ids{""});
}

/// An operation that takes an id, as text, and its results for the certificates
/// "1", which is active at first, and "2".
struct ByIdRow {
    const char* sentence;
    std::function<std::string(const std::string&)> call;
    std::string ofOne;
    std::string ofTwo;
};

class ServerById : public Server
{
protected:
    const std::vector<ByIdRow> rows = {
        {"the key", [this](const std::string& id) { return web.getServerKey(id); }, "key 1\n",
         "key 2\n"},
        {"the certificate", [this](const std::string& id) { return web.getServerCertificate(id); },
         pem("1\n"), pem("2\n")},
        {"the path of the certificate",
         [this](const std::string& id) { return web.getServerCertificatePath(id); },
         kept("server", "1"), kept("server", "2")},
        {"the details",
         [this](const std::string& id) { return web.getServerCertificateDetails(id); },
         "details 1\n", "details 2\n"},
        {"the info",
         [this](const std::string& id) { return web.getServerCertificateInfo(id).at("issuedTo"); },
         "CN=1", "CN=2"},
        {"the overrides",
         [this](const std::string& id) {
             return web.getServerCertificateOverwrittenData(id).getData("own");
         },
         "1", "2"},
    };
};

TEST_F(ServerById, UsesTheActiveCertificateForAnEmptyId)
{
    for (const ByIdRow& row : rows) {
        support::writeText(active, "1\n");
        EXPECT_EQ(row.call(""), row.ofOne) << row.sentence;
        support::writeText(active, "2");
        EXPECT_EQ(row.call(""), row.ofTwo) << row.sentence;
    }
}

TEST_F(ServerById, UsesAnyOtherIdWithoutReadingTheActiveOne)
{
    fs::remove(active);
    for (const ByIdRow& row : rows) {
        EXPECT_EQ(row.call("1"), row.ofOne) << row.sentence;
        EXPECT_EQ(row.call("2"), row.ofTwo) << row.sentence;
    }
}

TEST_F(ServerById, FailsWithoutTheFileOfTheActiveId)
{
    fs::remove(active);
    for (const ByIdRow& row : rows) {
        EXPECT_EQ(thrownBy([&] { row.call(""); }), apiError(1)) << row.sentence;
    }
}

TEST_F(ServerById, UsesAnEmptyActiveIdUnchanged)
{
    support::writeText(active, "");
    support::writeText(kept("server", ".key"), "the key of no name");
    EXPECT_EQ(web.getServerKey(""), "the key of no name\n");
    EXPECT_EQ(web.getServerCertificatePath(""), kept("server", ""));
}

TEST_F(Server, ReturnsTheFirstCertificateOfItsFile)
{
    support::writeText(kept("server", "3"), "text\n" + pem("3\n") + pem("4\n"));
    EXPECT_EQ(web.getServerCertificate("3"), pem("3\n"));
    EXPECT_EQ(thrownBy([&] { web.getServerCertificate("none"); }), apiError(20));
    fs::create_directory(kept("server", "directory"));
    EXPECT_EQ(thrownBy([&] { web.getServerCertificate("directory"); }), apiError(20));
}

TEST_F(Server, ReturnsThePathOfAnyFileThatCanBeOpened)
{
    support::writeText(kept("server", "empty"), "");
    fs::create_directory(kept("server", "directory"));
    fs::create_symlink("nothing", kept("server", "link"));
    ::mknod(kept("server", "socket").c_str(), S_IFSOCK | 0600, 0);
    const std::size_t descriptorsBefore = support::openDescriptorCount();
    for (const char* id : {"1", "empty", "directory"}) {
        EXPECT_EQ(web.getServerCertificatePath(id), kept("server", id));
    }
    for (const char* id : {"none", "link", "socket", "1/1"}) {
        EXPECT_EQ(thrownBy([&] { web.getServerCertificatePath(id); }), apiError(1)) << id;
    }
    EXPECT_EQ(support::openDescriptorCount(), descriptorsBefore);
}

} // namespace
