#include "integration/ServerCase.h"

#include "support/StartProgram.h"

#include <ostrel/CertificateInfo.h>

#include <gmock/gmock.h>

#include <ctime>
#include <sstream>

#include <grp.h>
#include <unistd.h>

namespace
{

using server_case::ask;
using server_case::payload;
using server_case::refusal;
using support::readText;
using testing::HasSubstr;
using testing::StartsWith;

class Server : public server_case::WithServer
{
protected:
    Server() { daemon.start(); }

    static std::string recordText(ostrl::CCertificateData record)
    {
        std::string text;
        record.to(text);
        return text;
    }

    std::string infoText(const std::string& id) const
    {
        std::ostringstream text;
        text << ostrel::CertificateInfo(paths.certInfoPath(id));
        return text.str();
    }
};

TEST_F(Server, ReturnsThePendingRequestAndItsDetails)
{
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(ask(ostrel::CommandCreateCsr), payload(""));
    EXPECT_EQ(ask(ostrel::CommandGetCsr), payload(readText(paths.csrPath())));
    EXPECT_EQ(web().getServerCsr(), readText(paths.csrPath()) + '\n');
    EXPECT_EQ(ask(ostrel::CommandGetCsrTimestamp),
              payload(std::to_string(web().getServerCsrTimestamp())));
    EXPECT_GE(web().getServerCsrTimestamp(), before - 1);
    EXPECT_LE(web().getServerCsrTimestamp(), std::time(nullptr));
    EXPECT_EQ(web().getCsrInfo().subjectName.commonName, "web.example");
    EXPECT_THAT(ask(ostrel::CommandGetCsrInfo), HasSubstr("CN=web.example"));
}

TEST_F(Server, ActivatesTheCertificateForTheRequest)
{
    web().createServerCsr();
    const std::string pem = support::certificateFor(web().getServerCsr());
    const std::string key = readText(paths.csrKeyPath());
    EXPECT_EQ(ask(ostrel::CommandApplyCrt, {given(pem)}), payload(support::fingerprintId(pem)));
    EXPECT_EQ(web().getServerActiveCertificateId(), support::fingerprintId(pem));
    EXPECT_EQ(readText(paths.certPath(support::fingerprintId(pem))), pem);
    EXPECT_EQ(web().getServerKey(""), key + '\n');
    EXPECT_EQ(web().getServerCsrTimestamp(), 0);
    EXPECT_FALSE(std::filesystem::exists(paths.csrKeyPath()));
}

TEST_F(Server, ReturnsEveryDetailOfTheActiveCertificate)
{
    configure("keyGroup ostrel\n");
    daemon.reload("web: configuration read again");
    const std::string id = applyNew();
    const struct {
        const char* sentence;
        ostrel::CommandType question;
        std::string answer;
    } rows[] = {
        {"its path", ostrel::CommandPath, web().getServerCertificatePath("")},
        {"its text", ostrel::CommandGetCert, readText(paths.certPath(id))},
        {"its key", ostrel::CommandGetKey, readText(paths.certKeyPath(id))},
        {"its full text", ostrel::CommandDetails, readText(paths.certDetailsPath(id))},
        {"its summary", ostrel::CommandInfo, infoText(id)},
        {"its record", ostrel::CommandGetCertInfo, recordText(web().getServerCertInfo())},
        {"its overrides", ostrel::CommandGetOverwrittenData, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ask(row.question), payload(row.answer)) << row.sentence;
    }
    EXPECT_EQ(ask(ostrel::CommandGetCertInfo, {paths.certPath(id)}),
              ask(ostrel::CommandGetCertInfo));
    EXPECT_EQ(web().getServerCertInfo().issuerName.commonName, "Test CA");
    EXPECT_THAT(web().getServerCertificateInfo("").at("issuedTo"), HasSubstr("web.example"));
    EXPECT_EQ(web().getServerCertificateInfo("").at("selfSigned"), "no");
    EXPECT_THAT(web().getServerCertificateDetails(""), StartsWith("Certificate:\n"));
    EXPECT_EQ(web().getServerCertificateList(), std::vector<std::string>{id});
}

TEST_F(Server, MakesACompliantRequest)
{
    web().createServerCsr({false});
    EXPECT_TRUE(web().getCsrInfo().v3Extensions.empty());
    web().createServerCsr({true});
    std::map<std::string, std::string> extensions;
    for (const ostrl::v3Ext& extension : web().getCsrInfo().v3Extensions) {
        extensions[extension.short_name] = extension.comment;
    }
    const std::map<std::string, std::string> compliant = {
        {"basicConstraints", "critical, CA:FALSE"},
        {"keyUsage", "critical, Digital Signature, Key Encipherment"},
        {"extendedKeyUsage", "TLS Web Server Authentication, TLS Web Client Authentication"},
    };
    EXPECT_EQ(extensions, compliant);
    EXPECT_EQ(ask(ostrel::CommandCreateCsr, {"CB-CA_compliant"}), refusal(4));
}

TEST_F(Server, RevokesTheActiveCertificateForAnyId)
{
    applyNew();
    const std::string id = applyNew();
    web().revokeServerCertificate("another one");
    EXPECT_EQ(ask(ostrel::CommandPath), refusal(20));
    for (const auto& file : server_case::treeOf(device.storeDirectory() + "/web/server")) {
        EXPECT_THAT(file.first, HasSubstr("/.cacheddata")) << "left: " << file.first;
    }
    EXPECT_FALSE(std::filesystem::exists(paths.certInfoPath(id)));
    EXPECT_NE(applyNew(), id);
}

TEST_F(Server, KeepsItsCertificateAndRequestOnAReload)
{
    const std::string id = applyNew();
    web().createServerCsr();
    const std::string request = web().getServerCsr();
    web().reloadService();
    daemon.reload("reading the configuration again");
    EXPECT_EQ(web().getServerActiveCertificateId(), id);
    EXPECT_TRUE(support::isKeyOf(web().getServerCertificate(""), web().getServerKey("")));
    EXPECT_EQ(web().getServerCsr(), request);
    web().applyServerCertificate(support::certificateFor(request));
    EXPECT_NE(web().getServerActiveCertificateId(), id);
}

TEST_F(Server, MakesASelfSignedCertificate)
{
    const std::string id = ask(ostrel::CommandCreateCrt, {"self", "30", "no"});
    EXPECT_EQ(id, payload(web().getServerActiveCertificateId()));
    EXPECT_EQ(web().getServerCertificateInfo("").at("selfSigned"), "yes");
    EXPECT_EQ(ask(ostrel::CommandCreateCrt, {"self", "30", "no"}), refusal(1));
    EXPECT_EQ(payload(web().getServerActiveCertificateId()), id);
    EXPECT_NE(ask(ostrel::CommandCreateCrt, {"self", "30", "yes"}), id);
    EXPECT_NE(payload(web().getServerActiveCertificateId()), id);
}

TEST_F(Server, StoresOverridesOfTheActiveCertificate)
{
    const std::string id = applyNew();
    EXPECT_EQ(ask(ostrel::CommandSetOverwrittenData, {"alias", "In the lobby"}), payload(""));
    EXPECT_EQ(web().getServerCertificateOverwrittenData("")["alias"], "In the lobby");
    EXPECT_EQ(ask(ostrel::CommandGetOverwrittenData), payload("alias In the lobby\n"));
    for (const char* key : {"", "a b", "a/b", "\xc3\xa4"}) {
        EXPECT_EQ(ask(ostrel::CommandSetOverwrittenData, {key, "x"}), refusal(1)) << key;
    }
    EXPECT_EQ(ask(ostrel::CommandGetOverwrittenData), payload("alias In the lobby\n"));
    EXPECT_EQ(ask(ostrel::CommandSetOverwrittenData, {"alias", ""}), refusal(4));
    EXPECT_EQ(server_case::modeOf(paths.certOverwrittenDataPath(id)), 0660U);
}

/// Does an application's work in a child process with the management group.
int asManager(void (*work)())
{
    const pid_t child = ::fork();
    if (child == 0) {
        const bool isOther = support::Accounts::hasOtherIds();
        const gid_t group = daemon_case::managersId();
        try {
            if (isOther &&
                (::setgroups(1, &group) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
                ::_exit(2);
            }
            work();
            ::_exit(0);
        } catch (const std::exception&) {
            ::_exit(1);
        }
    }
    return support::awaitEnd(child);
}

TEST_F(Server, LetsTheManagementGroupWriteTheOverridesFile)
{
    const std::string path = paths.certOverwrittenDataPath(applyNew());
    EXPECT_EQ(server_case::modeOf(path), 0660U);
    EXPECT_EQ(readText(path), "");
    EXPECT_EQ(asManager([] {
                  auto data = web().getServerCertificateOverwrittenData("");
                  data.setData("alias", "Lobby");
                  data.write();
              }),
              0);
    EXPECT_EQ(readText(path), "alias Lobby\n");
    EXPECT_EQ(ask(ostrel::CommandGetOverwrittenData), payload("alias Lobby\n"));
}

TEST_F(Server, LogsEachNotification)
{
    const struct {
        const char* line;
        void (*notify)();
    } rows[] = {
        {"the network changed", ostrelApi::OstrelService::notifyNetwork},
        {"the time changed", ostrelApi::OstrelService::notifyTime},
        {"unknown notifications: 1, the first 120",
         [] { ostrelApi::OstrelService::sendNotification('x'); }},
    };
    for (const auto& row : rows) {
        const support::RunningDaemon::LogMark mark(daemon);
        row.notify();
        mark.await(row.line);
    }
}

TEST_F(Server, KeepsTheTimeOfARequestOnAReloadAndARestart)
{
    web().createServerCsr();
    const auto changed = [&] {
        struct stat status {
        };
        EXPECT_EQ(::stat(paths.csrPath().c_str(), &status), 0);
        return std::make_pair(status.st_ctim.tv_sec, status.st_ctim.tv_nsec);
    };
    const auto made = changed();
    web().reloadService();
    EXPECT_EQ(changed(), made);
    daemon.restart();
    EXPECT_EQ(changed(), made);
}

TEST_F(Server, LogsEqualNotificationsInOneLine)
{
    const std::string path = device.pipesDirectory() + "/notification.signal";
    const support::RunningDaemon::LogMark mark(daemon);
    ASSERT_TRUE(ostrel::writeAll(ostrel::Descriptor::open(path, O_WRONLY),
                                 std::string(3000, 'n') + "tt" + std::string(1000, 'x')));
    mark.await("the network changed (notifications: 3000)");
    mark.await("the time changed (notifications: 2)");
    mark.await("unknown notifications: 1000, the first 120");
}

} // namespace
