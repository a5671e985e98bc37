#include "integration/DaemonCase.h"
#include "integration/StoreOnDisk.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace
{

using daemon_case::payload;
using daemon_case::refusal;
using daemon_case::StoreOnDisk;
using support::TestCertificate;
using testing::HasSubstr;
using testing::StartsWith;

/// The two kinds of store, and the operations on each.
struct Twin {
    const char* word;
    ostrel::TypeTarget target;
    int bad;
    std::string (ostrelApi::OstrelService::*add)(const std::string&);
    std::vector<std::string> (ostrelApi::OstrelService::*list)();
    std::vector<std::string> (ostrelApi::OstrelService::*listByCN)(const std::string&);
    std::string (ostrelApi::OstrelService::*get)(const std::string&);
    std::string (ostrelApi::OstrelService::*idOf)(const std::string&);
    std::vector<std::string> (ostrelApi::OstrelService::*revoke)(const std::vector<std::string>&);
};

using Service = ostrelApi::OstrelService;
const Twin twins[] = {
    {"ca", ostrel::TargetCA, 30, &Service::addCA, &Service::getCAList, &Service::getCAListByCN,
     &Service::getCA, &Service::getIdCA, &Service::revokeCA},
    {"client", ostrel::TargetClient, 40, &Service::addTrustedClient, &Service::getTrustedClientList,
     &Service::getTrustedClientListByCN, &Service::getTrustedClient, &Service::getIdTrustedClient,
     &Service::revokeTrustedClient},
};

void PrintTo(const Twin& twin, std::ostream* out)
{
    *out << twin.word;
}

std::string joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

/// Three certificates with two common names.
class StoreCommands : public daemon_case::WithDaemon, public testing::WithParamInterface<Twin>
{
protected:
    StoreCommands()
    {
        TestCertificate other;
        other.commonName = "Another CA";
        texts = {TestCertificate().pem(), TestCertificate().pem(), other.pem()};
        for (const std::string& text : texts) {
            ids.push_back((service.*GetParam().add)(text));
        }
        otherId = ids.back();
    }

    std::string ask(ostrel::CommandType type, const std::vector<std::string>& arguments = {})
    {
        return daemon_case::ask("web", GetParam().target, type, arguments);
    }

    std::vector<std::string> sorted() const
    {
        std::vector<std::string> copy = ids;
        std::sort(copy.begin(), copy.end());
        return copy;
    }

    Service service{"web"};
    const StoreOnDisk files{"web", GetParam().word};
    std::vector<std::string> texts;
    std::vector<std::string> ids;
    std::string otherId;
};

TEST_P(StoreCommands, AddRepliesTheFirst16DigitsOfTheFingerprint)
{
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(ids[i], support::fingerprintId(texts[i]));
    }
    EXPECT_EQ(files.fault(), "");
}

TEST_P(StoreCommands, ListRepliesAllIdsInAscendingOrder)
{
    EXPECT_EQ(ask(ostrel::CommandList), payload(joined(sorted())));
    EXPECT_EQ((service.*GetParam().list)(), sorted());
}

TEST_P(StoreCommands, ListByCNRepliesTheIdsWithThatCommonName)
{
    EXPECT_EQ(ask(ostrel::CommandListByCN, {"Another CA"}), payload(otherId));
    EXPECT_EQ(ask(ostrel::CommandListByCN, {"another ca"}), payload(""));
    EXPECT_EQ((service.*GetParam().listByCN)("Another CA"), std::vector<std::string>{otherId});
    EXPECT_EQ((service.*GetParam().listByCN)("Test CA").size(), 2U);
}

TEST_P(StoreCommands, GetcertRepliesTheCertificateExactlyAsAdded)
{
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(ask(ostrel::CommandGetCert, {ids[i]}), payload(texts[i]));
        EXPECT_EQ((service.*GetParam().get)(ids[i]), texts[i]);
        EXPECT_EQ((service.*GetParam().idOf)(texts[i]), ids[i]);
    }
    EXPECT_EQ((service.*GetParam().idOf)(TestCertificate().pem()), "");
}

TEST_P(StoreCommands, InfoAndDetailsReplyTheContentsOfTheirFiles)
{
    EXPECT_THAT(ask(ostrel::CommandInfo, {otherId}),
                HasSubstr("subjectName: CN = Another CA\nCA: yes\n"));
    EXPECT_EQ(ask(ostrel::CommandDetails, {otherId}),
              payload(support::readText(files.certDetailsPath(otherId))));
}

TEST_P(StoreCommands, PathRepliesThePathOfTheCertificateFile)
{
    EXPECT_EQ(ask(ostrel::CommandPath, {otherId}), payload(files.certPath(otherId)));
}

TEST_P(StoreCommands, GetcertinfoAcceptsOnlyThePathOfAListedCertificate)
{
    EXPECT_THAT(ask(ostrel::CommandGetCertInfo, {files.certPath(otherId)}),
                HasSubstr("CN=Another CA"));
    const std::string copy = pipeDirectory("web") + "/copy";
    support::writeText(copy, texts[0]);
    for (const std::string& path : {copy, otherId, files.certificateDirectoryPath(),
                                    files.certificateDirectoryPath() + "./" + otherId,
                                    std::string("/etc/passwd"), std::string()}) {
        EXPECT_EQ(ask(ostrel::CommandGetCertInfo, {path}), refusal(GetParam().bad)) << path;
    }
}

TEST_P(StoreCommands, RevokeRepliesTheRevokedIdsSeparatedBySingleBlanks)
{
    const auto all = sorted();
    const std::string unlisted = "0123456789abcdef";
    EXPECT_EQ(ask(ostrel::CommandRevoke, {all[2], unlisted, all[0], all[2]}),
              payload(all[0] + ' ' + all[2]));
    EXPECT_EQ((service.*GetParam().list)(), std::vector<std::string>{all[1]});
    EXPECT_EQ(files.fault(), "");
    EXPECT_EQ(ask(ostrel::CommandRevoke), payload(""));
    EXPECT_EQ(ask(ostrel::CommandRevoke, {all[0]}), payload(""));
    EXPECT_EQ((service.*GetParam().revoke)(all), std::vector<std::string>{all[1]});
    EXPECT_EQ(ask(ostrel::CommandList), payload(""));
    EXPECT_EQ(files.fault(), "");
}

TEST_P(StoreCommands, RevokeRemovesNothingWhenAnArgumentIsNoId)
{
    const auto all = sorted();
    for (const char* noId : {"no-id", "", "0123456789ABCDEF", "0123456789abcdef0", "root"}) {
        EXPECT_EQ(ask(ostrel::CommandRevoke, {all[0], noId, all[1]}), refusal(GetParam().bad))
            << noId;
    }
    EXPECT_EQ((service.*GetParam().list)(), all);
}

TEST_P(StoreCommands, OverridesAreStoredUntilTheirCertificateIsRevoked)
{
    const auto set = [&](const std::string& key, const std::string& value) {
        return ask(ostrel::CommandSetOverwrittenData, {otherId, key, value});
    };
    EXPECT_EQ(ask(ostrel::CommandGetOverwrittenData, {otherId}), payload(""));
    EXPECT_EQ(set("place", "Lobby, 2nd floor"), payload(""));
    EXPECT_EQ(set("alias", "Door"), payload(""));
    EXPECT_EQ(set("place", "Roof"), payload(""));
    EXPECT_EQ(ask(ostrel::CommandGetOverwrittenData, {otherId}),
              payload("alias Door\nplace Roof\n"));
    EXPECT_EQ(set("no key", "x"), refusal(1));
    EXPECT_EQ(support::readText(files.certOverwrittenDataPath(otherId)),
              "alias Door\nplace Roof\n");
    daemon.restart();
    EXPECT_EQ(ask(ostrel::CommandGetOverwrittenData, {otherId}),
              payload("alias Door\nplace Roof\n"));
    ask(ostrel::CommandRevoke, {otherId});
    EXPECT_FALSE(std::filesystem::exists(files.certOverwrittenDataPath(otherId)));
    EXPECT_EQ(files.fault(), "");
}

TEST_P(StoreCommands, HelpListsEveryCommandOfTheStore)
{
    const std::string help = ask(ostrel::CommandHelp);
    for (const char* word :
         {"add", "revoke", "list", "listByCN", "info", "details", "getcert", "getcertinfo", "path",
          "help", "getOverwrittenData", "setOverwrittenData"}) {
        EXPECT_THAT(help, HasSubstr(word));
    }
    EXPECT_THAT(help, Not(HasSubstr("status")));
}

INSTANTIATE_TEST_SUITE_P(Of, StoreCommands, testing::ValuesIn(twins),
                         [](const auto& row) { return row.param.word; });

class ConfigCommands : public daemon_case::WithDaemon
{
};

TEST_F(ConfigCommands, ReplyTheStatusReloadAndListTheCommands)
{
    Service service("web");
    EXPECT_EQ(daemon_case::askStatus("web"), payload("running"));
    EXPECT_TRUE(service.isServiceRunning());
    EXPECT_NO_THROW(service.reloadService());
    EXPECT_EQ(daemon_case::ask("web", ostrel::TargetConfig, ostrel::CommandHelp),
              payload("status\nreload\nhelp\n"));
}

} // namespace
