#include "cli/CliCase.h"

#include <ostrel/ExternalCertificatesAccessor.h>

#include <algorithm>

namespace
{

using cli_case::answerTo;
using cli_case::FinishedProgram;
using cli_case::json;
using cli_case::run;
using cli_case::TestCertificate;
using cli_case::Words;
using ostrelApi::OstrelService;
using testing::HasSubstr;
using testing::StartsWith;

/// The two stores that are filled from outside.
struct Twin {
    const char* word;
    std::string (OstrelService::*add)(const std::string&);
};

void PrintTo(const Twin& twin, std::ostream* out)
{
    *out << twin.word;
}

/// A store that holds two certificates.
class Store : public cli_case::WithDaemon, public testing::WithParamInterface<Twin>
{
protected:
    Store() : pem(certificateOf("One")), id((service.*GetParam().add)(pem))
    {
        (service.*GetParam().add)(certificateOf("Two"));
    }

    static std::string certificateOf(const std::string& commonName)
    {
        TestCertificate certificate;
        certificate.commonName = commonName;
        certificate.alternativeNames = "DNS:one.example, IP:192.0.2.1";
        return certificate.pem();
    }

    /// A command of the store on "web".
    static Words words(const std::string& command, const Words& rest = {})
    {
        Words all = {GetParam().word, command, "web"};
        all.insert(all.end(), rest.begin(), rest.end());
        return all;
    }

    const std::string pem;
    const std::string id;
    const ostrel::ExternalCertificatesAccessor paths{"web", GetParam().word};
};

TEST_P(Store, IsListedWithNamesAndEnds)
{
    const json answer = answerTo(words("list"));
    EXPECT_EQ(answer["service"], "web");
    EXPECT_EQ(answer["store"], GetParam().word);
    ASSERT_EQ(answer["certificates"].size(), 2U);
    const auto& rows = answer["certificates"];
    const auto& row = rows[0]["id"] == id ? rows[0] : rows[1];
    EXPECT_EQ(row["commonName"], "One");
    EXPECT_EQ(row["validUntil"], "2040-01-01T00:00:00Z");
    EXPECT_GT(row["daysLeft"], 0);
    EXPECT_THAT(run(words("list")).output, HasSubstr(id + "  One          2040-01-01T00:00:00Z"));
}

TEST_P(Store, IsListedByTheExactCommonName)
{
    const json answer = answerTo(words("list", {"--cn", "One"}));
    ASSERT_EQ(answer["certificates"].size(), 1U);
    EXPECT_EQ(answer["certificates"][0]["id"], id);
    EXPECT_EQ(answerTo(words("list", {"--cn=one"}))["certificates"], json::array());
}

TEST_P(Store, ShowsCertificatesAsTheyAre)
{
    const FinishedProgram shown = run(words("show", {id}));
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.output, pem);
    EXPECT_EQ(run(words("show", {id, id})).output, pem + pem);
    EXPECT_EQ(answerTo(words("show", {id}))["certificates"][0]["pem"], pem);
}

TEST_P(Store, PrintsTheSummaryOfACertificate)
{
    const json summary = answerTo(words("info", {id}))["summary"];
    EXPECT_EQ(summary["issuedTo"], "CN = One");
    EXPECT_EQ(summary["CA"], true);
    EXPECT_EQ(summary["selfSigned"], true);
    EXPECT_EQ(summary["validFrom"], "2020-01-01T00:00:00Z");
    EXPECT_EQ(summary["addresses"], json::array({"192.0.2.1"}));
    EXPECT_EQ(summary["hostNames"], json::array({"one.example"}));
    const std::string shown = run(words("info", {id})).output;
    EXPECT_THAT(shown, HasSubstr("issued to    CN = One\n"));
    EXPECT_THAT(shown, HasSubstr("addresses    192.0.2.1\n"));
    EXPECT_THAT(shown, HasSubstr("authority    yes\n"));
}

TEST_P(Store, PrintsEveryFieldOfACertificate)
{
    const json record = answerTo(words("record", {id}))["record"];
    EXPECT_EQ(record["subject"], "CN=One");
    EXPECT_EQ(record["keyBits"], 256);
    EXPECT_THAT(record["extensions"].dump(), HasSubstr("DNS:one.example"));
    EXPECT_THAT(run(words("record", {id})).output, HasSubstr("subject             CN=One\n"));
}

TEST_P(Store, PrintsTheFullTextOfACertificate)
{
    const std::string text = support::readText(paths.certDetailsPath(id));
    EXPECT_EQ(run(words("details", {id})).output, text);
    EXPECT_EQ(answerTo(words("details", {id}))["certificates"][0]["details"], text);
}

TEST_P(Store, NamesItsFiles)
{
    EXPECT_EQ(run(words("path", {id})).output, paths.certPath(id) + '\n');
    EXPECT_EQ(run(words("path")).output, paths.certificateDirectoryPath() + '\n');
    const json answer = answerTo(words("path", {id}));
    EXPECT_EQ(answer["directory"], paths.certificateDirectoryPath());
    EXPECT_EQ(answer["paths"][0]["path"], paths.certPath(id));
}

TEST_P(Store, FindsACertificateByItsText)
{
    const std::string one = file("one.pem", {pem});
    EXPECT_EQ(run(words("find", {one})).output, id + '\n');
    EXPECT_EQ(cli_case::runWithInput(words("find", {"-"}), one).output, id + '\n');
    const std::string both = file("both.pem", {pem, TestCertificate().pem()});
    const FinishedProgram missing = run(words("find", {both}));
    EXPECT_EQ(missing.status, 6);
    EXPECT_EQ(missing.output, id + '\n');
    EXPECT_THAT(missing.errors, HasSubstr("the store does not hold " + both + ", 2 of 2"));
}

TEST_P(Store, RevokesCertificates)
{
    EXPECT_EQ(run(words("revoke")).output, "0 revoked\n");
    EXPECT_EQ(answerTo(words("list"))["certificates"].size(), 2U);
    const json answer = answerTo(words("revoke", {id}));
    EXPECT_EQ(answer["revoked"], json::array({id}));
    EXPECT_EQ(answer["count"], 1);
    EXPECT_EQ(answerTo(words("list"))["certificates"].size(), 1U);
    EXPECT_EQ(run(words("revoke", {id})).status, 6);
}

TEST_P(Store, TakesTheStartOfAnIdForIt)
{
    for (std::size_t length = 1; length <= id.size(); ++length) {
        const FinishedProgram shown = run(words("show", {id.substr(0, length)}));
        if (shown.status == 0) {
            EXPECT_EQ(shown.output, pem);
        } else {
            EXPECT_EQ(shown.status, 2) << shown.errors;
        }
    }
    EXPECT_EQ(run(words("show", {id + "0"})).status, 6);
    EXPECT_EQ(run(words("show", {""})).status, 6);
}

// So many that two of them begin alike.
TEST_P(Store, ListsTheIdsThatBeginWithAnAmbiguousOne)
{
    for (int i = 0; i < 17; ++i) {
        (service.*GetParam().add)(certificateOf("Another"));
    }
    std::map<char, std::set<std::string>> byStart;
    const json all = answerTo(words("list"));
    for (const auto& row : all["certificates"]) {
        const std::string each = row["id"];
        byStart[each[0]].insert(each);
    }
    const auto several = std::find_if(byStart.begin(), byStart.end(),
                                      [](const auto& ids) { return ids.second.size() > 1; });
    ASSERT_NE(several, byStart.end());
    const std::string start(1, several->first);
    const json answer = answerTo(words("show", {start}));
    EXPECT_EQ(answer["error"]["status"], "usage");
    EXPECT_EQ(answer["error"]["candidates"].get<std::set<std::string>>(), several->second);
    EXPECT_THAT(run(words("show", {start})).errors, HasSubstr(*several->second.begin()));
}

INSTANTIATE_TEST_SUITE_P(Of, Store,
                         testing::Values(Twin{"ca", &OstrelService::addCA},
                                         Twin{"client", &OstrelService::addTrustedClient}),
                         [](const auto& row) { return std::string(row.param.word); });

} // namespace
