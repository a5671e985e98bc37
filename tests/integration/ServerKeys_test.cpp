#include "integration/ServerCase.h"

#include "support/StartProgram.h"

#include <gmock/gmock.h>

#include <sstream>

namespace
{

namespace fs = std::filesystem;
using server_case::ask;
using server_case::modeOf;
using support::readText;
using testing::HasSubstr;
using testing::Not;

const char rsaRequest[] = "[ req ]\n"
                          "distinguished_name = name\n"
                          "prompt = no\n"
                          "req_extensions = wanted\n"
                          "[ name ]\n"
                          "CN = web.example\n"
                          "[ wanted ]\n"
                          "keyUsage = critical, digitalSignature\n";

gid_t groupOf(const std::string& path)
{
    struct stat status {
    };
    return ::stat(path.c_str(), &status) == 0 ? status.st_gid : static_cast<gid_t>(-1);
}

// A second group, where the namespace has one.
gid_t keyGroupId()
{
    return support::Accounts::hasOtherIds() ? 4712 : 0;
}

class ServerKeys : public server_case::WithServer
{
protected:
    ServerKeys() { support::Accounts::addGroup("keys:x:" + std::to_string(keyGroupId()) + ':'); }

    void startWith(const std::string& settings, const char* request = server_case::curveRequest)
    {
        configure(settings, request);
        daemon.start({"--debug"});
    }

    /// The files of all directories that hold a private key.
    std::vector<std::string> filesWithKeys() const
    {
        std::vector<std::string> found;
        for (const std::string& root : {device.storeDirectory(), device.pipesDirectory()}) {
            for (const auto& entry : fs::recursive_directory_iterator(root)) {
                if (entry.is_regular_file() &&
                    readText(entry.path()).find("PRIVATE KEY") != std::string::npos) {
                    found.push_back(entry.path());
                }
            }
        }
        return found;
    }
};

TEST_F(ServerKeys, AreReadableOnlyToTheDaemonWithoutAKeyGroup)
{
    startWith("");
    applyNew();
    const std::string id = applyNew();
    web().createServerCsr();
    EXPECT_EQ(filesWithKeys().size(), 3U);
    for (const std::string& path : filesWithKeys()) {
        EXPECT_EQ(modeOf(path), 0600U) << path;
    }
    ask(ostrel::CommandCreateCrt, {"self", "30", "yes"});
    EXPECT_EQ(modeOf(paths.certKeyPath(web().getServerActiveCertificateId())), 0600U);
}

TEST_F(ServerKeys, AreReadableToTheKeyGroup)
{
    startWith("keyGroup keys\n");
    const std::string path = paths.certKeyPath(applyNew());
    web().createServerCsr();
    EXPECT_EQ(modeOf(path), 0640U);
    EXPECT_EQ(groupOf(path), keyGroupId());
    EXPECT_EQ(modeOf(paths.csrKeyPath()), 0600U);
    EXPECT_EQ(groupOf(paths.certPath(web().getServerActiveCertificateId())),
              daemon_case::managersId());
}

TEST_F(ServerKeys, FollowAChangeOfTheKeyGroup)
{
    startWith("keyGroup keys\n");
    const std::string path = paths.certKeyPath(applyNew());
    configure("");
    web().reloadService();
    EXPECT_EQ(modeOf(path), 0600U);
    configure("keyGroup keys\n");
    daemon.restart();
    EXPECT_EQ(modeOf(path), 0640U);
    EXPECT_EQ(groupOf(path), keyGroupId());
}

TEST_F(ServerKeys, AreInDirectoriesThatOnlyTheDaemonCanWrite)
{
    startWith("keyGroup keys\n");
    applyNew();
    // Where the key group differs from the management group, other users may
    // pass through.
    EXPECT_EQ(modeOf(device.storeDirectory() + "/web/server"),
              keyGroupId() == daemon_case::managersId() ? 0750U : 0751U);
    EXPECT_EQ(modeOf(paths.cachedDirectoryPath()), 0710U);
    EXPECT_EQ(modeOf(paths.tmpDirectoryPath()), 0710U);
}

TEST_F(ServerKeys, AreNotMadeWhenTheKeyGroupDoesNotExist)
{
    startWith("keyGroup nobody-knows\n");
    EXPECT_THAT(daemon.log(), HasSubstr("the key group 'nobody-knows' does not exist"));
    EXPECT_EQ(ask(ostrel::CommandCreateCsr), server_case::refusal(11));
}

TEST_F(ServerKeys, StayUnchangedOnAReloadWithAnUnknownKeyGroup)
{
    startWith("");
    applyNew();
    const auto stores = server_case::treeOf(device.storeDirectory());
    const auto pipes = server_case::treeOf(device.pipesDirectory());
    device.addService("web", "managmentGroup keys\nkeyGroup nobody-knows\nserver yes\n"
                             "cnfFile /etc/ostrel/web.cnf\nca yes\n");
    daemon.reload("web: failed to read the configuration again: the key group 'nobody-knows'");
    EXPECT_EQ(server_case::treeOf(device.storeDirectory()), stores);
    EXPECT_EQ(server_case::treeOf(device.pipesDirectory()), pipes);
    EXPECT_EQ(groupOf(device.storeDirectory() + "/web"), daemon_case::managersId());
    EXPECT_EQ(groupOf(pipeDirectory("web")), daemon_case::managersId());
}

TEST_F(ServerKeys, AreNeverLogged)
{
    startWith("selfSignedGeneration yes\nkeyGroup ostrel\n");
    std::string keys = web().getServerKey("");
    web().createServerCsr();
    keys += readText(paths.csrKeyPath());
    ask(ostrel::CommandApplyCrt, {given(support::certificateFor(web().getServerCsr()))});
    EXPECT_THAT(ask(ostrel::CommandGetKey), HasSubstr("PRIVATE KEY"));
    ask(ostrel::CommandApplyCrt, {given(web().getServerKey(""))});
    web().createServerCsr();
    ask(ostrel::CommandApplyCrt, {given(readText(paths.csrKeyPath()))});
    keys += web().getServerKey("") + readText(paths.csrKeyPath());
    const std::string log = daemon.log();
    EXPECT_THAT(log, HasSubstr("getkey"));
    EXPECT_THAT(log, Not(HasSubstr("PRIVATE KEY")));
    std::istringstream lines(keys);
    for (std::string line; std::getline(lines, line);) {
        if (line.size() >= 16) {
            EXPECT_THAT(log, Not(HasSubstr(line.substr(0, 16))));
        }
    }
}

/// A kind of key, and the request configuration that selects it.
struct Kind {
    const char* name;
    const char* request;
};

void PrintTo(const Kind& kind, std::ostream* out)
{
    *out << kind.name;
}

const Kind kinds[] = {{"Rsa", rsaRequest}, {"Curve", server_case::curveRequest}};

/// Checks with OpenSSL's own tool what the daemon makes.
class ServerKeysToOpenSsl : public ServerKeys, public testing::WithParamInterface<Kind>
{
protected:
    ServerKeysToOpenSsl() { startWith("keyGroup keys\n", GetParam().request); }

    static std::string openssl(std::vector<std::string> words)
    {
        words.insert(words.begin(), "/usr/bin/openssl");
        const support::FinishedProgram done = support::runProgram(words);
        return (done.status == 0 ? "" : "failed: ") + done.output + done.errors;
    }
};

TEST_P(ServerKeysToOpenSsl, MatchTheRequest)
{
    for (const bool isCompliant : {false, true}) {
        web().createServerCsr({isCompliant});
        EXPECT_THAT(openssl({"req", "-verify", "-noout", "-in", paths.csrPath()}),
                    HasSubstr("verify OK"));
        EXPECT_EQ(openssl({"pkey", "-check", "-noout", "-in", paths.csrKeyPath()}),
                  "Key is valid\n");
        EXPECT_EQ(openssl({"req", "-pubkey", "-noout", "-in", paths.csrPath()}),
                  openssl({"pkey", "-pubout", "-in", paths.csrKeyPath()}));
    }
}

TEST_P(ServerKeysToOpenSsl, MatchTheCertificateThatTheDaemonMakes)
{
    ask(ostrel::CommandCreateCrt, {"self", "30", "no"});
    const std::string id = web().getServerActiveCertificateId();
    const std::string path = paths.certPath(id);
    EXPECT_EQ(openssl({"verify", "-check_ss_sig", "-CAfile", path, path}), path + ": OK\n");
    EXPECT_EQ(openssl({"pkey", "-check", "-noout", "-in", paths.certKeyPath(id)}),
              "Key is valid\n");
    EXPECT_EQ(openssl({"x509", "-pubkey", "-noout", "-in", path}),
              openssl({"pkey", "-pubout", "-in", paths.certKeyPath(id)}));
    EXPECT_THAT(openssl({"x509", "-checkend", "2505600", "-noout", "-in", path}),
                HasSubstr("will not expire"));
    EXPECT_THAT(openssl({"x509", "-checkend", "2678400", "-noout", "-in", path}),
                HasSubstr("will expire"));
}

TEST_P(ServerKeysToOpenSsl, DifferForEachRequest)
{
    web().createServerCsr();
    const std::string first = readText(paths.csrKeyPath());
    web().createServerCsr();
    EXPECT_NE(readText(paths.csrKeyPath()), first);
}

INSTANTIATE_TEST_SUITE_P(Of, ServerKeysToOpenSsl, testing::ValuesIn(kinds),
                         [](const auto& row) { return row.param.name; });

} // namespace
