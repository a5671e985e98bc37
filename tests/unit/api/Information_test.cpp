// What an application reads about one certificate from the files of its store.

#include "unit/api/StockedService.h"

#include "support/CapturedErrors.h"

#include <functional>

namespace
{

namespace fs = std::filesystem;
using ostrelApi::OstrelService;
using ostrelApi::OverwrittenData;
using service_case::StockedService;
using service_case::summaryOf;
using support::apiError;
using support::thrownBy;
using Map = std::map<std::string, std::string>;

struct Store {
    const char* testName;
    /// The name of its directories.
    const char* word;
    /// Thrown when the certificate is missing; 0 where that is not checked.
    int badCertificate;
    Map (OstrelService::*info)(const std::string&);
    std::string (OstrelService::*details)(const std::string&);
    OverwrittenData (OstrelService::*overrides)(const std::string&);
};

const Store stores[] = {
    {"Server", "server", 0, &OstrelService::getServerCertificateInfo,
     &OstrelService::getServerCertificateDetails,
     &OstrelService::getServerCertificateOverwrittenData},
    {"CA", "ca", 30, &OstrelService::getCAInfo, &OstrelService::getCADetails,
     &OstrelService::getCAOverwrittenData},
    {"TrustedClient", "client", 40, &OstrelService::getTrustedClientInfo,
     &OstrelService::getTrustedClientDetails, &OstrelService::getTrustedClientOverwrittenData},
};

void PrintTo(const Store& store, std::ostream* out)
{
    *out << store.testName;
}

class Information : public StockedService, public testing::WithParamInterface<Store>
{
protected:
    Map info() { return (web.*GetParam().info)("2"); }
    std::string details() { return (web.*GetParam().details)("2"); }
    OverwrittenData overrides() { return (web.*GetParam().overrides)("2"); }

    OstrelService web{"web"};
    const std::string certificate = kept(GetParam().word, "2");
    const std::string infoFile = volatileFile(GetParam().word, "2.info");
    const std::string detailFile = volatileFile(GetParam().word, "2.detail");
    const std::string overrideFile = kept(GetParam().word, ".cacheddata/2.overwrite");
};

TEST_P(Information, FromTheInfoIsAMap)
{
    const Map expected = {{"issuedTo", "CN=2"}, {"issuedBy", "CN=root"}, {"CA", "no"},
                          {"CASigned", "yes"},  {"selfSigned", "no"},    {"validFrom", "1"},
                          {"validUntil", "2"},  {"IP.1", "10.0.0.1"},    {"IP.2", "10.0.0.2"},
                          {"DNS.1", "web"}};
    EXPECT_EQ(info(), expected);
}

TEST_P(Information, FromAnInfoOfVersion0IsEmpty)
{
    const Map expected = {{"issuedTo", ""},    {"issuedBy", ""},     {"CA", "no"},
                          {"CASigned", "yes"}, {"selfSigned", "no"}, {"validFrom", "0"},
                          {"validUntil", "0"}};
    support::writeText(infoFile, R"({"data_structure_version": 0})");
    EXPECT_EQ(info(), expected);
}

// Intended: unlike all other failures, this one is not an exception of the API.
TEST_P(Information, FromTheInfoFailsWithTheTextOfTheInfo)
{
    fs::remove(infoFile);
    EXPECT_EQ(thrownBy([&] { info(); }), "std::runtime_error: Error: Impossible to open " +
                                             infoFile +
                                             " for reading! Because the file does not exist.");
    for (const char* text : {"", "{}", "no JSON", R"({"data_structure_version": 1})"}) {
        support::writeText(infoFile, text);
        EXPECT_EQ(thrownBy([&] { info(); }),
                  "std::runtime_error: Generic exception caught while opening " + infoFile +
                      " for reading!")
            << text;
    }
}

TEST_P(Information, FromTheDetailsIsTheirText)
{
    support::writeText(detailFile, "a\nb\n");
    EXPECT_EQ(details(), "a\nb\n\n");
}

TEST_P(Information, FromTheDetailsFailsWithoutTheFile)
{
    fs::remove(detailFile);
    EXPECT_EQ(thrownBy([&] { details(); }), apiError(1));
}

TEST_P(Information, FromTheOverridesIsAnObjectForTheirFile)
{
    EXPECT_EQ(overrides().getMap(), (Map{{"own", "2"}}));
    OverwrittenData data = overrides();
    data.setData("colour", "red");
    data.write();
    EXPECT_EQ(support::readText(overrideFile), "own 2\ncolour red\n");
}

TEST_P(Information, FromTheOverridesIsReadAtTheirFirstUse)
{
    fs::remove(overrideFile);
    OverwrittenData data = overrides();
    support::writeText(overrideFile, "own later\n");
    EXPECT_EQ(data.getData("own"), "later");
}

TEST_P(Information, FromTheOverridesNeedsNoFile)
{
    fs::remove(overrideFile);
    EXPECT_EQ(overrides().getMap(), Map());
    EXPECT_FALSE(fs::exists(overrideFile));
}

TEST_P(Information, RequiresTheCertificateExceptInTheServerStore)
{
    fs::remove(certificate);
    const int code = GetParam().badCertificate;
    const std::string expected = code != 0 ? apiError(code) : "nothing";
    EXPECT_EQ(thrownBy([&] { info(); }), expected);
    EXPECT_EQ(thrownBy([&] { details(); }), expected);
    EXPECT_EQ(thrownBy([&] { overrides(); }), expected);
    fs::create_symlink("nothing", certificate);
    EXPECT_EQ(thrownBy([&] { info(); }), expected) << "dangling link";
    fs::remove(certificate);
    fs::create_directory(certificate);
    EXPECT_EQ(thrownBy([&] { info(); }), "nothing") << "any file of that name is enough";
}

TEST_P(Information, ChecksForTheCertificateBeforeItsFiles)
{
    for (const std::string& file : {certificate, infoFile, detailFile}) {
        fs::remove(file);
    }
    const int code = GetParam().badCertificate;
    EXPECT_EQ(thrownBy([&] { details(); }), apiError(code != 0 ? code : 1));
    EXPECT_EQ(thrownBy([&] { info(); }).find(code != 0 ? "ostrelApi::" : "std::runtime_error"), 0U);
}

TEST_P(Information, IsNeverTraced)
{
    const support::CapturedTrace trace;
    const std::vector<std::function<void()>> queries = {[&] { info(); }, [&] { details(); },
                                                        [&] { overrides().getMap(); }};
    for (const auto& query : queries) {
        EXPECT_EQ(thrownBy(query), "nothing");
    }
    for (const std::string& file : {infoFile, detailFile, overrideFile, certificate}) {
        fs::remove(file);
        for (const auto& query : queries) {
            thrownBy(query);
        }
    }
    EXPECT_EQ(trace.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Stores, Information, testing::ValuesIn(stores),
                         testing::PrintToStringParamName());

} // namespace
