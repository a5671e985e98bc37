#include "x509/Certificate.h"

#include "base/Files.h"
#include "store/CertificateStore.h"
#include "support/Device.h"
#include "support/TestCertificate.h"
#include "x509/Json.h"

#include <ostrel/DaemonConfiguration.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <openssl/pem.h>

#include <filesystem>

#include <unistd.h>

namespace
{

using nlohmann::ordered_json;
using support::TestCertificate;
using testing::ElementsAre;

std::string dumped(const ordered_json& json, int indent)
{
    return json.dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

/// A certificate with other bytes in its encoding.
std::string withBytes(const std::string& former, const std::string& wanted)
{
    const std::string pem = TestCertificate{}.pem();
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* bytes = nullptr;
    long length = 0;
    const ostreld::BioPointer in = ostreld::readerOf(pem);
    PEM_read_bio(in.get(), &name, &header, &bytes, &length);
    std::string der(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(length));
    der.replace(der.find(former), former.size(), wanted);
    const std::string text = ostreld::printed([&](BIO* out) {
        return PEM_write_bio(out, name, header, reinterpret_cast<unsigned char*>(der.data()),
                             length) > 0;
    });
    OPENSSL_free(name);
    OPENSSL_free(header);
    OPENSSL_free(bytes);
    return text;
}

TEST(Certificate, InfoIsTheTextThatAJsonLibraryWrites)
{
    const TestCertificate rows[] = {
        {},
        {"A \"quoted\" \\ K\xc3\xb6ln \xe2\x82\xac \xf0\x9f\x94\x91"},
        {"a\nb\tc\x01\x1f\x7f"},
        {"leaf", false, "Authority"},
        {"names", true, "", "DNS:a.example, IP:192.0.2.1, IP:2001:db8::1, DNS:b.example"},
        {"one name", true, "", "DNS:a.example"},
        {"old and far", true, "", "", "19500101000000Z", "99991231235959Z"},
    };
    for (const TestCertificate& row : rows) {
        const std::string info = ostreld::Certificate(row.pem()).info();
        const ordered_json json = ordered_json::parse(info);
        EXPECT_EQ(info, dumped(json, 2) + '\n') << row.commonName;
        std::vector<std::string> members;
        for (const auto& [name, value] : json.items()) {
            members.push_back(name);
        }
        EXPECT_THAT(members, ElementsAre("data_structure_version", "issuerName", "subjectName",
                                         "isCA", "isSelfSigned", "validFrom", "validUntil",
                                         "validIPs", "validHostnames"));
        EXPECT_EQ(json["isCA"], row.isCA);
        EXPECT_EQ(json["isSelfSigned"], row.issuer.empty());
    }
}

TEST(Certificate, InfoHoldsTheNamesAndDates)
{
    const std::string info =
        ostreld::Certificate(
            TestCertificate{"A \"B\"", true, "", "DNS:a.example, IP:192.0.2.1, DNS:b.example"}
                .pem())
            .info();
    EXPECT_EQ(info, "{\n"
                    "  \"data_structure_version\": 1,\n"
                    "  \"issuerName\": \"CN = A \\\\\\\"B\\\\\\\"\",\n"
                    "  \"subjectName\": \"CN = A \\\\\\\"B\\\\\\\"\",\n"
                    "  \"isCA\": true,\n"
                    "  \"isSelfSigned\": true,\n"
                    "  \"validFrom\": 1577836800,\n"
                    "  \"validUntil\": 2208988800,\n"
                    "  \"validIPs\": [\n"
                    "    \"192.0.2.1\"\n"
                    "  ],\n"
                    "  \"validHostnames\": [\n"
                    "    \"a.example\",\n"
                    "    \"b.example\"\n"
                    "  ]\n"
                    "}\n");
}

TEST(Certificate, JsonStringsAreThoseOfAJsonLibraryForEveryByte)
{
    std::vector<std::string> texts = {"",
                                      "\xe2\x82",
                                      "\xe2\x82\xe2\x82\xac",
                                      "a\xf0\x9f\x94",
                                      "\xed\xa0\x80",
                                      "\xc0\xaf",
                                      "\xf4\x90\x80\x80",
                                      "\xf0\x8f\xbf\xbf",
                                      "\xe0\x9f\xbf",
                                      "\xf5",
                                      "\xf1\x80\x80"
                                      "a"};
    for (int first = 0; first < 256; ++first) {
        texts.push_back({static_cast<char>(first)});
        for (int second = 0; second < 256; ++second) {
            texts.push_back({static_cast<char>(first), static_cast<char>(second), '\x80', 'a'});
        }
    }
    for (const std::string& text : texts) {
        ASSERT_EQ(ostreld::jsonString(text), dumped(text, -1));
    }
}

TEST(Certificate, CommonNameHasNoHiddenCharacters)
{
    EXPECT_EQ(ostreld::Certificate(TestCertificate{"a\n\xc2\x9b\xe2\x80\xae"
                                                   "b"}
                                       .pem())
                  .commonName(),
              "a???b");
}

TEST(Certificate, IsNotDescribableWhenOneOfItsTextsCannotBeMade)
{
    const struct {
        const char* sentence;
        std::string pem;
        bool isDescribable;
    } rows[] = {
        {"a plain one", TestCertificate{}.pem(), true},
        {"a date that does not exist", withBytes("200101000000Z", "209901000000Z"), false},
    };
    for (const auto& row : rows) {
        const ostreld::Certificate certificate(row.pem);
        try {
            ostreld::requireDescribable(certificate, ostreld::BadTrustedClient);
            EXPECT_TRUE(row.isDescribable) << row.sentence;
        } catch (const ostreld::Refusal& refusal) {
            EXPECT_FALSE(row.isDescribable) << row.sentence;
            EXPECT_EQ(refusal.code(), ostreld::BadTrustedClient) << row.sentence;
        }
    }
}

TEST(Certificate, IsNotDescribableWhenATextIsLargerThanAReply)
{
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
    GTEST_SKIP() << "takes minutes with the address sanitizer";
#endif
#endif
    TestCertificate large;
    large.padding = ostreld::largestOwnFile;
    const ostreld::Certificate certificate(large.pem());
    EXPECT_THROW(ostreld::requireDescribable(certificate, ostreld::BadTrustedClient),
                 ostreld::Refusal);
}

TEST(Certificate, IsRefusedBeforeAnythingIsWrittenWhenItCannotBeDescribed)
{
    const support::Device device;
    device.addService("web", "ca yes\n");
    const std::string directory = ostrel::DaemonConfiguration::getOstrelDirectory() + "/web";
    std::filesystem::create_directories(directory);
    const ostrel::ServiceConfiguration service("web");
    ostreld::CertificateStore store(ostreld::storeRows[0], service, ::getegid());
    store.rebuild();
    const auto written = std::filesystem::last_write_time(directory + "/ca");
    try {
        store.add(ostreld::Certificate(withBytes("200101000000Z", "209901000000Z")));
        ADD_FAILURE() << "added";
    } catch (const ostreld::Refusal& refusal) {
        EXPECT_EQ(refusal.code(), ostreld::BadCA);
    }
    EXPECT_TRUE(store.ids().empty());
    EXPECT_EQ(std::filesystem::last_write_time(directory + "/ca"), written);
}

TEST(Certificate, TextIsAsItWasGivenWhereThatIsPlainPem)
{
    const std::string pem = TestCertificate{}.pem();
    const std::string other = TestCertificate{"other"}.pem();
    std::string joined = pem;
    joined.erase(joined.find('\n', 40), 1);
    std::string older = pem;
    for (std::size_t at = 0; (at = older.find("CERTIFICATE", at)) != std::string::npos; at += 17) {
        older.insert(at, "X509 ");
    }
    const struct {
        const char* sentence;
        std::string given;
        std::string text;
    } rows[] = {
        {"one block", pem, pem},
        {"text around it", "Subject: a\n" + pem + "end\n", pem},
        {"lines of another length", joined, joined},
        {"several blocks", pem + other, pem},
        {"another kind of block", older, pem},
        {"another kind of block before a plain one", older + other, pem},
        {"no line feed at the end", pem.substr(0, pem.size() - 1), pem},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        EXPECT_NO_THROW(EXPECT_EQ(ostreld::Certificate(row.given).pem(), row.text));
    }
}

} // namespace
