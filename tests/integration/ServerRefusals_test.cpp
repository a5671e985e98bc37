#include "integration/ServerCase.h"

#include <gmock/gmock.h>

namespace
{

namespace fs = std::filesystem;
using server_case::ask;
using server_case::payload;
using server_case::refusal;
using support::certificateFor;
using support::TestCertificate;

class ServerRefusals : public server_case::WithServer
{
protected:
    ServerRefusals() { daemon.start(); }

    /// Every file that the daemon stores for all services.
    std::map<std::string, std::string> everything() const
    {
        auto tree = server_case::treeOf(device.storeDirectory());
        tree.merge(server_case::treeOf(device.pipesDirectory()));
        return tree;
    }
};

TEST_F(ServerRefusals, CommandsNeedAnActiveCertificate)
{
    const struct {
        ostrel::CommandType question;
        std::vector<std::string> arguments;
    } rows[] = {
        {ostrel::CommandGetCert, {}},
        {ostrel::CommandGetCertInfo, {}},
        {ostrel::CommandGetCertInfo, {paths.certPath("x")}},
        {ostrel::CommandGetKey, {}},
        {ostrel::CommandPath, {}},
        {ostrel::CommandInfo, {}},
        {ostrel::CommandDetails, {}},
        {ostrel::CommandGetOverwrittenData, {}},
        {ostrel::CommandSetOverwrittenData, {"key", "value"}},
        {ostrel::CommandRevoke, {}},
    };
    configure("keyGroup ostrel\n");
    daemon.reload("web: configuration read again");
    web().createServerCsr();
    const auto before = everything();
    for (const auto& row : rows) {
        EXPECT_EQ(ask(row.question, row.arguments), refusal(20)) << "command " << row.question;
    }
    EXPECT_EQ(everything(), before);
}

TEST_F(ServerRefusals, CommandsNeedAPendingRequest)
{
    applyNew();
    const std::string file = given(TestCertificate().pem());
    const auto before = everything();
    EXPECT_EQ(ask(ostrel::CommandGetCsr), refusal(21));
    EXPECT_EQ(ask(ostrel::CommandGetCsrInfo), refusal(21));
    EXPECT_EQ(ask(ostrel::CommandApplyCrt, {file}), refusal(21));
    EXPECT_EQ(ask(ostrel::CommandApplyCrt, {file + "x"}), refusal(21));
    // As in the library, the time 0 stands for no request.
    EXPECT_EQ(ask(ostrel::CommandGetCsrTimestamp), payload("0"));
    EXPECT_EQ(web().getServerCsrTimestamp(), 0);
    EXPECT_EQ(everything(), before);
}

TEST_F(ServerRefusals, CommandsNeedTheirPrivateKey)
{
    configure("keyGroup ostrel\n");
    daemon.reload("web: configuration read again");
    const std::string id = applyNew();
    web().createServerCsr();
    const std::string file = given(certificateFor(web().getServerCsr()));
    fs::remove(paths.certKeyPath(id));
    fs::remove(paths.csrKeyPath());
    const auto before = everything();
    EXPECT_EQ(ask(ostrel::CommandGetKey), refusal(22));
    EXPECT_EQ(ask(ostrel::CommandApplyCrt, {file}), refusal(22));
    EXPECT_EQ(everything(), before);
}

TEST_F(ServerRefusals, RefusedCertificateChangesNothing)
{
    web().createServerCsr();
    const std::string former = certificateFor(web().getServerCsr());
    applyNew();
    web().createServerCsr();
    const std::string good = certificateFor(web().getServerCsr());
    const struct {
        const char* sentence;
        std::string text;
        int returnCode;
    } rows[] = {
        {"nothing", "", 9},
        {"plain words", "This is not a certificate.\n", 9},
        {"half a certificate", good.substr(0, good.size() / 2), 9},
        {"the request itself", web().getServerCsr(), 9},
        {"a private key", support::readText(paths.csrKeyPath()), 9},
        {"a certificate for another key", TestCertificate().pem(), 26},
        {"a certificate for a replaced request", former, 26},
        {"the active certificate", web().getServerCertificate(""), 26},
        {"a good certificate after another one", TestCertificate().pem() + good, 26},
    };
    for (const auto& row : rows) {
        const std::string file = given(row.text);
        const auto before = everything();
        EXPECT_EQ(ask(ostrel::CommandApplyCrt, {file}), refusal(row.returnCode)) << row.sentence;
        EXPECT_EQ(everything(), before) << row.sentence;
    }
    EXPECT_EQ(ask(ostrel::CommandApplyCrt, {given(good)}), payload(support::fingerprintId(good)));
}

TEST_F(ServerRefusals, RefusedForeignFileChangesNothing)
{
    web().createServerCsr();
    const std::string good = certificateFor(web().getServerCsr());
    const std::string elsewhere = device.pipesDirectory() + "/vpn/given.crt";
    support::writeText(elsewhere, good);
    fs::create_symlink(elsewhere, pipeDirectory("web") + "/link");
    const auto before = everything();
    for (const std::string& path :
         {elsewhere, pipeDirectory("web") + "/../vpn/given.crt", pipeDirectory("web") + "/link",
          pipeDirectory("web") + "/missing", pipeDirectory("web"), paths.csrKeyPath()}) {
        EXPECT_EQ(ask(ostrel::CommandApplyCrt, {path}), refusal(3)) << path;
    }
    EXPECT_EQ(everything(), before);
}

TEST_F(ServerRefusals, ApplicationGetsTheReturnCodesOfTheLibrary)
{
    EXPECT_EQ(ask(ostrel::CommandApplyCrt, {given("")}), refusal(21));
    const auto failure = [](const auto& work) {
        try {
            work();
            return std::string("none");
        } catch (const ostrelApi::OstrelApiException& caught) {
            return std::string(caught.getErrorMessage());
        }
    };
    const std::string file = given(TestCertificate().pem());
    const auto apply = [] { web().applyServerCertificate(TestCertificate().pem()); };
    const auto applyFile = [&] { web().applyServerCertificateFile(file); };
    EXPECT_EQ(failure(apply), refusal(21));
    EXPECT_EQ(failure(applyFile), refusal(21));
    web().createServerCsr();
    EXPECT_EQ(failure(apply), refusal(1));
    EXPECT_EQ(failure(applyFile), refusal(1));
    EXPECT_EQ(failure([] { web().revokeServerCertificate(""); }), refusal(20));
}

TEST_F(ServerRefusals, RefusedSelfSignedCertificateChangesNothing)
{
    applyNew();
    const struct {
        const char* sentence;
        std::vector<std::string> arguments;
        int returnCode;
    } rows[] = {
        {"another signer", {"ca", "30", "yes"}, 4},
        {"zero days", {"self", "0", "yes"}, 4},
        {"a negative number of days", {"self", "-1", "yes"}, 4},
        {"days that are not a number", {"self", "ten", "yes"}, 4},
        {"days with trailing text", {"self", "10 ", "yes"}, 4},
        {"days beyond a hundred years", {"self", "36501", "yes"}, 4},
        {"more days than an integer holds", {"self", "99999999999999999999", "yes"}, 4},
        {"neither yes nor no", {"self", "30", "YES"}, 4},
        {"too few arguments", {"self", "30"}, 4},
        {"too many arguments", {"self", "30", "yes", "no"}, 4},
        {"a certificate is active", {"self", "30", "no"}, 1},
    };
    const auto before = everything();
    for (const auto& row : rows) {
        EXPECT_EQ(ask(ostrel::CommandCreateCrt, row.arguments), refusal(row.returnCode))
            << row.sentence;
    }
    EXPECT_EQ(everything(), before);
}

TEST_F(ServerRefusals, CommandsRefuseAStoreThatTheServiceLacks)
{
    const ostrel::CommandType commands[] = {
        ostrel::CommandCreateCsr, ostrel::CommandGetCsr,      ostrel::CommandGetCsrInfo,
        ostrel::CommandGetKey,    ostrel::CommandGetCert,     ostrel::CommandPath,
        ostrel::CommandRevoke,    ostrel::CommandGetCertInfo, ostrel::CommandGetCsrTimestamp,
    };
    for (const ostrel::CommandType command : commands) {
        EXPECT_EQ(daemon_case::ask("vpn", ostrel::TargetServer, command), refusal(7))
            << "command " << command;
    }
}

} // namespace
