#include "unit/api/ServiceCase.h"

namespace
{

namespace fs = std::filesystem;
using service_case::externalStores;
using service_case::Ids;
using service_case::OstrelService;
using service_case::pem;
using service_case::testNameOf;
using support::apiError;
using support::thrownBy;

/// Finds the certificate of a store that equals the certificate in a file.
class LookUp : public service_case::ExternalStoreCase
{
protected:
    std::string idOf(const std::string& text)
    {
        support::writeText(wanted, text);
        return idOfFile(wanted);
    }
    std::string idOfFile(const std::string& path) { return store.idOfFile(web, path); }

    const std::string wanted = device.storeDirectory() + "/wanted.pem";
};

INSTANTIATE_TEST_SUITE_P(Of, LookUp, testing::ValuesIn(externalStores), testNameOf);

struct SameRow {
    const char* sentence;
    std::string wanted;
    const char* expected;
};

TEST_P(LookUp, FindsTheCertificateWithTheSameLines)
{
    putList("1\n2\n3\n");
    put("1", pem("AA\n"));
    put("2", "text before\n" + pem("BB\nbb\n") + "text after\n");
    put("3", "-----BEGIN CERTIFICATE-----\nCC\n");
    const SameRow rows[] = {
        {"the first", pem("AA\n"), "1"},
        {"text around the stored certificate", pem("BB\nbb\n"), "2"},
        {"other text around the wanted certificate", "x\n" + pem("BB\nbb\n") + pem("AA\n"), "2"},
        {"the wanted certificate is cut off", "-----BEGIN CERTIFICATE-----\nBB\n", "2"},
        {"the stored certificate is cut off", pem("CC\ncc\n"), "3"},
        {"another certificate", pem("DD\n"), ""},
        {"another line length", pem("B\nBbb\n"), ""},
        {"other line ends", "-----BEGIN CERTIFICATE-----\r\nAA\r\n", ""},
        {"no certificate", "AA\n", ""},
        {"an empty file", "", ""},
    };
    for (const SameRow& row : rows) {
        EXPECT_EQ(idOf(row.wanted), row.expected) << row.sentence;
    }
}

TEST_P(LookUp, PrefersTheSmallestIdOfDuplicates)
{
    putList("9\n10\n");
    put("9", pem("AA\n"));
    put("10", pem("AA\n"));
    EXPECT_EQ(idOf(pem("AA\n")), "10");
}

TEST_P(LookUp, ReadsOnlyTheListedCertificates)
{
    putList("");
    put("1", pem("AA\n"));
    EXPECT_EQ(idOf(pem("AA\n")), "");
    putList("1\n");
    EXPECT_EQ(idOf(pem("AA\n")), "1");
}

TEST_P(LookUp, SkipsListedCertificatesThatCannotBeRead)
{
    putList("1\n2\n3\n4\n");
    fs::create_directories(certificates + "/2");
    support::makeUnopenable(certificates + "/3");
    EXPECT_EQ(idOf(pem("AA\n")), "") << "the first and the last are missing";
    put("4", pem("AA\n"));
    EXPECT_EQ(idOf(pem("AA\n")), "4");
    EXPECT_EQ(idOf(""), "") << "an unreadable file does not equal an empty file";
}

TEST_P(LookUp, FindsNothingForAFileThatCannotBeRead)
{
    putList("1\n2\n");
    put("1", pem("AA\n"));
    put("2", "");
    const std::string socket = device.storeDirectory() + "/socket";
    support::makeUnopenable(socket);
    for (const std::string& path :
         {wanted + ".gone", socket, device.storeDirectory(), std::string()}) {
        EXPECT_EQ(idOfFile(path), "") << path;
    }
}

TEST_P(LookUp, RequiresTheList)
{
    put("1", pem("AA\n"));
    EXPECT_EQ(thrownBy([&] { idOf(pem("AA\n")); }), apiError(1));
}

TEST_P(LookUp, ChangesNeitherTheFileNorTheStore)
{
    putList("1\n");
    put("1", pem("AA\n"));
    idOf(pem("BB\n"));
    EXPECT_EQ(support::readText(wanted), pem("BB\n"));
    EXPECT_EQ(support::readText(list), "1\n");
    EXPECT_EQ(support::readText(certificates + "/1"), pem("AA\n"));
}

/// A service that overrides the list operations.
class OwnList : public OstrelService
{
public:
    using OstrelService::OstrelService;
    Ids getCAList() override { return ids; }
    Ids getTrustedClientList() override { return ids; }

    Ids ids;
};

TEST_P(LookUp, UsesTheListOfASubclass)
{
    OwnList own("web");
    own.ids = {"9", "10"};
    put("9", pem("AA\n"));
    put("10", pem("AA\n"));
    support::writeText(wanted, pem("AA\n"));
    EXPECT_EQ(store.idOfFile(own, wanted), "9") << "in the order of that list";
    EXPECT_EQ(store.idOfText(own, pem("AA\n")), "9");
    own.ids.clear();
    EXPECT_EQ(store.idOfFile(own, wanted), "");
}

/// A service that overrides the capabilities.
class OwnCapabilities : public OstrelService
{
public:
    using OstrelService::OstrelService;
    bool hasCA() const override { return hasBoth; }
    bool hasTrustedClient() const override { return hasBoth; }

    bool hasBoth = true;
};

TEST_P(LookUp, UsesTheCapabilityOfASubclass)
{
    device.addService("bare", "");
    OwnCapabilities own("bare");
    EXPECT_EQ(store.directory(own), device.storeDirectory() + "/bare/" + store.word + '/');
    own.hasBoth = false;
    EXPECT_EQ(thrownBy([&] { store.directory(own); }), apiError(7));
}

} // namespace
