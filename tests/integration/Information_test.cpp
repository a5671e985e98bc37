#include "integration/DaemonCase.h"
#include "integration/StoreOnDisk.h"

#include <ostrl/CCertificateData.h>

#include <gmock/gmock.h>

namespace
{

using daemon_case::StoreOnDisk;
using support::TestCertificate;
using testing::ElementsAre;
using testing::HasSubstr;

/// What the daemon writes about one trusted certificate.
class Information : public daemon_case::WithDaemon
{
protected:
    std::string add(const TestCertificate& certificate)
    {
        return service.addTrustedClient(certificate.pem());
    }

    ostrel::CertificateInfo infoOf(const TestCertificate& certificate)
    {
        return ostrel::CertificateInfo(files.certInfoPath(add(certificate)));
    }

    ostrl::CCertificateData recordOf(const TestCertificate& certificate)
    {
        ostrel::Commands command;
        command.target = ostrel::TargetClient;
        command.command = ostrel::CommandGetCertInfo;
        command.arguments = {files.certPath(add(certificate))};
        ostrl::CCertificateData record;
        record.from(service.sendCommandToServer(command));
        return record;
    }

    ostrelApi::OstrelService service{"web"};
    const StoreOnDisk files{"web", "client"};
};

TestCertificate leaf()
{
    TestCertificate certificate;
    certificate.commonName = "door.example.com";
    certificate.isCA = false;
    certificate.issuer = "Test CA";
    certificate.alternativeNames =
        "DNS:door.example.com, IP:192.0.2.7, DNS:*.example.com, IP:2001:db8::7, "
        "email:door@example.com, URI:https://example.com/";
    return certificate;
}

TEST_F(Information, FileHasVersionOne)
{
    EXPECT_THAT(support::readText(files.certInfoPath(add(leaf()))),
                HasSubstr("\"data_structure_version\": 1,"));
}

TEST_F(Information, HasTheSubjectAndIssuer)
{
    const ostrel::CertificateInfo info = infoOf(leaf());
    EXPECT_EQ(info.subjectName, "CN = door.example.com");
    EXPECT_EQ(info.issuerName, "CN = Test CA");
    const ostrl::CCertificateData record = recordOf(leaf());
    EXPECT_EQ(record.subjectName.commonName, "door.example.com");
    EXPECT_EQ(record.issuerName.commonName, "Test CA");
}

TEST_F(Information, MarksAuthoritiesAndSelfSignedCertificates)
{
    const ostrel::CertificateInfo authority = infoOf(TestCertificate());
    EXPECT_TRUE(authority.isCA);
    EXPECT_TRUE(authority.isSelfSigned);
    const ostrel::CertificateInfo other = infoOf(leaf());
    EXPECT_FALSE(other.isCA);
    EXPECT_FALSE(other.isSelfSigned);
}

TEST_F(Information, HasTheIpAddressesAndHostNames)
{
    const ostrel::CertificateInfo info = infoOf(leaf());
    EXPECT_THAT(info.validIPs, ElementsAre("192.0.2.7", "2001:db8::7"));
    EXPECT_THAT(info.validHostnames, ElementsAre("door.example.com", "*.example.com"));
    const ostrel::CertificateInfo none = infoOf(TestCertificate());
    EXPECT_TRUE(none.validIPs.empty());
    EXPECT_TRUE(none.validHostnames.empty());
}

TEST_F(Information, HasDatesInSecondsSince1970)
{
    const struct {
        const char* notBefore;
        const char* notAfter;
        std::uint64_t from;
        std::uint64_t until;
    } rows[] = {
        {"20200101000000Z", "20400101000000Z", 1577836800, 2208988800},
        {"20380119031407Z", "20380119031408Z", 2147483647, 2147483648},
        {"20200101000000Z", "20491231235959Z", 1577836800, 2524607999},
        {"20491231235959Z", "20500101000000Z", 2524607999, 2524608000},
        {"20240229120000Z", "21060207062816Z", 1709208000, 4294967296},
        {"19700101000000Z", "99991231235959Z", 0, 253402300799},
        {"19700101000001Z", "20000229000000Z", 1, 951782400},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.notAfter);
        TestCertificate certificate;
        certificate.notBefore = row.notBefore;
        certificate.notAfter = row.notAfter;
        const ostrel::CertificateInfo info = infoOf(certificate);
        EXPECT_EQ(info.validFrom, row.from);
        EXPECT_EQ(info.validUntil, row.until);
        const ostrl::CCertificateData record = recordOf(certificate);
        EXPECT_EQ(record.validNotBeforeDate, row.from);
        EXPECT_EQ(record.validNotAfterDate, row.until);
        EXPECT_EQ(record.validityDays, static_cast<std::int32_t>((row.until - row.from) / 86400));
    }
}

TEST_F(Information, RecordHasKeySignatureVersionAndExtensions)
{
    const ostrl::CCertificateData record = recordOf(leaf());
    EXPECT_EQ(record.publicKeySizeBits, 256);
    EXPECT_EQ(record.publicKeyType, "EC");
    EXPECT_EQ(record.publicKey.size(), 124U);
    EXPECT_EQ(record.certVersion, 3);
    EXPECT_EQ(record.signatureAlgorithmType, "ecdsa-with-SHA256");
    ASSERT_EQ(record.v3Extensions.size(), 2U);
    EXPECT_EQ(record.v3Extensions[0].obj_id, "2.5.29.19");
    EXPECT_EQ(record.v3Extensions[0].comment, "CA:FALSE");
    EXPECT_EQ(record.v3Extensions[1].short_name, "subjectAltName");
    EXPECT_THAT(record.v3Extensions[1].comment, HasSubstr("DNS:*.example.com"));
}

TEST_F(Information, DetailsAreTheFullTextOfTheCertificate)
{
    const std::string text = support::readText(files.certDetailsPath(add(leaf())));
    for (const char* part :
         {"Certificate:\n    Data:\n        Version: 3 (0x2)\n", "Issuer: CN = Test CA\n",
          "Not After : Jan  1 00:00:00 2040 GMT\n", "Public-Key: (256 bit)\n",
          "DNS:door.example.com, IP Address:192.0.2.7", "Signature Algorithm: ecdsa-with-SHA256"}) {
        EXPECT_THAT(text, HasSubstr(part));
    }
}

/// A common name, and how each reader shows it.
struct NameRow {
    const char* sentence;
    std::string name;
    std::string inMap;
    std::string inInfo;
    std::string inRecord;
};

TEST_F(Information, HandlesNamesWithSpecialCharacters)
{
    const NameRow rows[] = {
        {"UTF-8", "Übung 証明書 🔑", "Übung 証明書 🔑", "CN = Übung 証明書 🔑", "Übung 証明書 🔑"},
        {"a comma", "Doors, Ltd.", "Doors, Ltd.", "CN = \"Doors, Ltd.\"", "Doors  Ltd."},
        {"an equals sign", "a=b", "a=b", "CN = a=b", "a b"},
        {"a hash", "door #1", "door #1", "CN = door #1", "door  1"},
        {"a line feed", "a\nb 0123 c", "a?b 0123 c", "CN = a\\0Ab 0123 c", "a b 0123 c"},
        {"a tab and a NUL", std::string("a\tb\0c", 5), "a?b?c", "CN = a\\09b\\00c", "a b c"},
        {"quotes and a backslash", "\"a\\b\"", "\"a\\b\"", "CN = \\\"a\\\\b\\\"", "\"a\\b\""},
        {"two hundred characters", std::string(200, 'x'), std::string(200, 'x'),
         "CN = " + std::string(200, 'x'), std::string(200, 'x')},
    };
    for (const NameRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        TestCertificate certificate;
        certificate.commonName = row.name;
        const std::string id = add(certificate);
        EXPECT_THAT(service.getTrustedClientListByCN(row.inMap), ElementsAre(id));
        EXPECT_EQ(ostrel::CertificateInfo(files.certInfoPath(id)).subjectName, row.inInfo);
        EXPECT_EQ(recordOf(certificate).subjectName.commonName, row.inRecord);
        EXPECT_EQ(files.fault(), "");
    }
}

// Decimal conversion takes time proportional to the square of the length.
TEST_F(Information, ShowsALongSerialNumberInHexadecimal)
{
    const auto serialOf = [this](int bytes) {
        TestCertificate certificate = leaf();
        certificate.serialBytes = bytes;
        return recordOf(certificate).certSerial;
    };
    const auto hexadecimal = [](std::size_t bytes) { return "0x" + std::string(2 * bytes, '5'); };
    EXPECT_EQ(serialOf(2), "21845");
    EXPECT_EQ(serialOf(64).substr(0, 3), "446");
    EXPECT_EQ(serialOf(64).size(), 154U);
    EXPECT_EQ(serialOf(65), hexadecimal(65));
    EXPECT_EQ(serialOf(20000), hexadecimal(20000));
}

} // namespace
