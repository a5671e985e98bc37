#include <ostrel/CertificateInfo.h>

#include "support/SmallStack.h"
#include "support/TextFiles.h"

#include <gtest/gtest.h>

namespace
{

using ostrel::CertificateInfo;
using Map = std::map<std::string, std::string>;

// The members of a valid document. A row of a test replaces one of them.
const std::pair<const char*, const char*> goodMembers[] = {
    {"data_structure_version", "1"},
    {"issuerName", R"("CN=root")"},
    {"subjectName", R"("CN=web, O=Caf\u00e9")"},
    {"isCA", "true"},
    {"isSelfSigned", "false"},
    {"validFrom", "1700000000"},
    {"validUntil", "1800000000"},
    {"validIPs", R"(["10.0.0.1", "::1", "10.0.0.2"])"},
    {"validHostnames", R"(["web", "web.example.com"])"},
};

// The valid document with `value` for the member `name`, or without that member
// if `value` is empty.
std::string documentWith(const std::string& name, const std::string& value)
{
    std::string text;
    for (const auto& [memberName, goodValue] : goodMembers) {
        const std::string memberValue = name == memberName ? value : goodValue;
        if (!memberValue.empty()) {
            text +=
                (text.empty() ? "{\"" : ", \"") + std::string(memberName) + "\": " + memberValue;
        }
    }
    return text + "}";
}

std::string goodDocument()
{
    return documentWith("", "");
}

class CertificateInfoFile : public testing::Test
{
protected:
    // What read() throws, or "read".
    std::string resultOf(const std::string& text)
    {
        support::writeText(m_path, text);
        return resultOfReading(m_path, m_info);
    }

    static std::string resultOfReading(const std::string& path, CertificateInfo& info)
    {
        try {
            info.read(path);
            return "read";
        } catch (const std::runtime_error& caught) {
            return caught.what();
        }
    }

    // The map of the document `text`.
    Map mapOf(const std::string& text)
    {
        support::writeText(m_path, text);
        return CertificateInfo(m_path).getMap();
    }

    const support::TemporaryDirectory m_directory;
    const std::string m_path = m_directory / "1.info";
    const std::string m_generic =
        "Generic exception caught while opening " + m_path + " for reading!";
    CertificateInfo m_info;
};

TEST_F(CertificateInfoFile, IsReadIntoEveryMember)
{
    ASSERT_EQ(resultOf(goodDocument()), "read");
    EXPECT_EQ(m_info.issuerName, "CN=root");
    EXPECT_EQ(m_info.subjectName, "CN=web, O=Café");
    EXPECT_TRUE(m_info.isCA);
    EXPECT_FALSE(m_info.isSelfSigned);
    EXPECT_EQ(m_info.validFrom, 1700000000U);
    EXPECT_EQ(m_info.validUntil, 1800000000U);
    EXPECT_EQ(m_info.validIPs, (std::vector<std::string>{"10.0.0.1", "::1", "10.0.0.2"}));
    EXPECT_EQ(m_info.validHostnames, (std::vector<std::string>{"web", "web.example.com"}));
}

struct ValueRow {
    const char* sentence;
    const char* member;
    const char* value;
    const char* key;
    const char* expected;
};

TEST_F(CertificateInfoFile, GivesItsValuesAsTexts)
{
    const ValueRow rows[] = {
        {"the largest date", "validFrom", "18446744073709551615", "validFrom",
         "18446744073709551615"},
        {"a date of 0", "validUntil", "0", "validUntil", "0"},
        {"a date with leading zeros", "validUntil", "007", "validUntil", "7"},
        {"a date as a text", "validUntil", "\"7\"", "validUntil", "7"},
        {"an authority", "isCA", "true", "CA", "yes"},
        {"not an authority", "isCA", "false", "CA", "no"},
        {"self-signed", "isSelfSigned", "true", "selfSigned", "yes"},
        {"self-signed is not signed by an authority", "isSelfSigned", "true", "CASigned", "no"},
        {"not self-signed is signed by an authority", "isSelfSigned", "false", "CASigned", "yes"},
        {"an empty name", "issuerName", "\"\"", "issuedBy", ""},
        {"UTF-8 in two bytes", "issuerName", "\"é\"", "issuedBy", "é"},
        {"UTF-8 in three bytes", "subjectName", "\"日本\"", "issuedTo", "日本"},
        {"UTF-8 in four bytes", "validIPs", "[\"😀\"]", "IP.1", "😀"},
        {"an escaped character", "issuerName", "\"\\u65e5\\ud83d\\ude00\"", "issuedBy", "日😀"},
        {"escaped quotes and line feeds", "issuerName", R"("\"\\\/\n")", "issuedBy", "\"\\/\n"},
        {"the largest version", "data_structure_version", "2147483647", "CA", "yes"},
    };
    for (const ValueRow& row : rows) {
        EXPECT_EQ(mapOf(documentWith(row.member, row.value)).at(row.key), row.expected)
            << row.sentence;
    }
}

TEST_F(CertificateInfoFile, NumbersAddressesAndHostNamesFrom1InTheMap)
{
    EXPECT_EQ(mapOf(goodDocument()), (Map{{"issuedTo", "CN=web, O=Café"},
                                          {"issuedBy", "CN=root"},
                                          {"CA", "yes"},
                                          {"CASigned", "yes"},
                                          {"selfSigned", "no"},
                                          {"validFrom", "1700000000"},
                                          {"validUntil", "1800000000"},
                                          {"IP.1", "10.0.0.1"},
                                          {"IP.2", "::1"},
                                          {"IP.3", "10.0.0.2"},
                                          {"DNS.1", "web"},
                                          {"DNS.2", "web.example.com"}}));
}

TEST_F(CertificateInfoFile, HasNoNumberedKeysForEmptyLists)
{
    const Map map = mapOf(documentWith("validIPs", "[]"));
    EXPECT_EQ(map.count("IP.1"), 0U);
    EXPECT_EQ(map.count("DNS.1"), 1U);
    EXPECT_EQ(mapOf(documentWith("validHostnames", "[ ]")).count("DNS.1"), 0U);
}

TEST_F(CertificateInfoFile, AcceptsItsMembersInAnyOrderAndSkipsOthers)
{
    EXPECT_EQ(resultOf(R"({"validHostnames":[],"x":{"isCA":[{}]},"validIPs":["a"],"isCA":true,
        "validUntil":2,"validFrom":1,"isSelfSigned":true,"y":null,"subjectName":"s",
        "issuerName":"i","data_structure_version":1})"),
              "read");
    EXPECT_EQ(m_info.issuerName, "i");
    EXPECT_EQ(m_info.validIPs, std::vector<std::string>{"a"});
}

TEST_F(CertificateInfoFile, OfVersion0OrLessChangesNothing)
{
    ASSERT_EQ(resultOf(goodDocument()), "read");
    const Map former = m_info.getMap();
    for (const char* version : {"0", "-1", "-2147483648"}) {
        const std::string member = R"({"data_structure_version": )" + std::string(version);
        EXPECT_EQ(resultOf(member + "}"), "read") << version;
        EXPECT_EQ(resultOf(member + R"(, "issuerName": [], "validIPs": ["new"]})"), "read")
            << version;
        EXPECT_EQ(m_info.getMap(), former) << version;
    }
}

TEST_F(CertificateInfoFile, RequiresEveryMember)
{
    for (const auto& member : goodMembers) {
        EXPECT_EQ(resultOf(documentWith(member.first, "")), m_generic) << member.first;
    }
}

TEST_F(CertificateInfoFile, RefusesAMemberThatIsNotASingleValue)
{
    for (const auto& member : goodMembers) {
        for (const char* value :
             {"null", "{}", "{\"a\": 1}", "unknown", "[null]", "[[]]", "[{}]"}) {
            EXPECT_EQ(resultOf(documentWith(member.first, value)), m_generic)
                << member.first << ": " << value;
        }
    }
}

struct BadMemberRow {
    const char* sentence;
    const char* member;
    const char* value;
};

TEST_F(CertificateInfoFile, RefusesAMemberOfAWrongTypeOrOutOfRange)
{
    const BadMemberRow rows[] = {
        {"a version that is not a number", "data_structure_version", "\"one\""},
        {"a version beyond 32 bits", "data_structure_version", "2147483648"},
        {"a version below 32 bits", "data_structure_version", "-2147483649"},
        {"a fractional version", "data_structure_version", "1.5"},
        {"a name that is a list", "issuerName", "[\"CN=root\"]"},
        {"a flag that is a list", "isCA", "[true]"},
        {"a flag that is an empty list", "isSelfSigned", "[]"},
        {"a negative date", "validFrom", "-1"},
        {"a date beyond 64 bits", "validUntil", "18446744073709551616"},
        {"a fractional date", "validFrom", "1.5"},
        {"a date that is a flag", "validUntil", "true"},
        {"a date that is a word", "validFrom", "\"soon\""},
        {"a date that is an empty list", "validFrom", "[]"},
        {"a list that is a text", "validIPs", "\"10.0.0.1\""},
        {"a list that is a number", "validHostnames", "1"},
    };
    for (const BadMemberRow& row : rows) {
        EXPECT_EQ(resultOf(documentWith(row.member, row.value)), m_generic) << row.sentence;
    }
}

TEST_F(CertificateInfoFile, RefusesADocumentThatIsNotAnObject)
{
    for (const char* text : {"[]", "[1]", "1 ", "\"x\"", "true ", "null", "{", "}", ""}) {
        EXPECT_EQ(resultOf(text), m_generic) << text;
    }
}

TEST_F(CertificateInfoFile, IsRefusedWhenCutOffAnywhere)
{
    const std::string text = goodDocument();
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_EQ(resultOf(text.substr(0, length)), m_generic) << text.substr(0, length);
    }
    // This document has every needed member before the cut.
    EXPECT_EQ(resultOf(R"({"data_structure_version": 0)"), m_generic);
}

TEST_F(CertificateInfoFile, MayBeFollowedOnlyByBlanks)
{
    EXPECT_EQ(resultOf(goodDocument() + " \r\n\t\n"), "read");
    for (const char* garbage : {"x", "}", "{}", "\n1", "\xFF", "\v", "// x"}) {
        CertificateInfo untouched;
        support::writeText(m_path, goodDocument() + garbage);
        EXPECT_EQ(resultOfReading(m_path, untouched), m_generic) << garbage;
        EXPECT_EQ(untouched.getMap(), CertificateInfo().getMap()) << garbage;
    }
}

TEST_F(CertificateInfoFile, IsReadOnASmallStackAtAnyDepth)
{
    const std::string deep = documentWith("validIPs", std::string(1 << 20, '['));
    support::onSmallStack([&] {
        EXPECT_EQ(resultOf(deep), m_generic);
        EXPECT_EQ(resultOf(goodDocument()), "read");
    });
}

TEST_F(CertificateInfoFile, KeepsWhatWasReadBeforeAFailure)
{
    ASSERT_EQ(resultOf(goodDocument()), "read");
    EXPECT_EQ(resultOf(R"({"data_structure_version": 1, "issuerName": "new", "subjectName": "new",
        "isCA": false, "isSelfSigned": true, "validFrom": 1, "validUntil": -1})"),
              m_generic);
    EXPECT_EQ(m_info.issuerName, "new");
    EXPECT_FALSE(m_info.isCA);
    EXPECT_EQ(m_info.validFrom, 1U);
    EXPECT_EQ(m_info.validUntil, 1800000000U);
    EXPECT_EQ(m_info.validIPs.size(), 3U);
    EXPECT_EQ(resultOf(documentWith("validIPs", R"(["a", [], "b"])")), m_generic);
    EXPECT_EQ(m_info.validIPs, std::vector<std::string>{"a"}) << "the elements before the bad one";
}

TEST_F(CertificateInfoFile, ReplacesTheListsOfAFormerDocument)
{
    ASSERT_EQ(resultOf(goodDocument()), "read");
    ASSERT_EQ(resultOf(documentWith("validIPs", R"(["new"])")), "read");
    EXPECT_EQ(m_info.validIPs, std::vector<std::string>{"new"});
    EXPECT_EQ(m_info.validHostnames.size(), 2U);
}

} // namespace
