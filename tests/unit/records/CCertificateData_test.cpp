#include <ostrl/CCertificateData.h>

#include "support/CapturedErrors.h"
#include "support/GroupedNumbers.h"
#include "unit/records/RecordText.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

using ostrl::CCertificateData;
using record_text::textOf;
constexpr auto dataOf = record_text::recordOf<CCertificateData>;

const char* const defaultText = "public_key_size_bits 2048\n"
                                "cert_serial 2\n"
                                "validity_days 365\n"
                                "cert_version 3\n"
                                "signatureAlgorithm_type RSA\n"
                                "public_key_type \n"
                                "validNotBeforeDate 0\n"
                                "validNotAfterDate 0\n"
                                "public_key \n"
                                "subject_name \n"
                                "issuer_name \n";

const char* const fullText = "public_key_size_bits 4096\n"
                             "cert_serial 0A:FF\n"
                             "validity_days 30\n"
                             "cert_version 1\n"
                             "signatureAlgorithm_type ecdsa-with-SHA256\n"
                             "public_key_type EC\n"
                             "validNotBeforeDate 1700000000\n"
                             "validNotAfterDate 1800000000\n"
                             "public_key MFkwEwYH\n"
                             "subject_name C=US, OU=a, OU=b, CN=web\n"
                             "issuer_name CN=root\n";

ostrl::v3Ext extension(const std::string& id)
{
    ostrl::v3Ext result;
    result.obj_id = id;
    return result;
}

std::string idsOf(const CCertificateData& data)
{
    std::string ids;
    for (const ostrl::v3Ext& each : data.v3Extensions) {
        ids += each.obj_id + ' ';
    }
    return ids;
}

TEST(CertificateData, StartsWithTheValuesOfASelfSignedCertificate)
{
    const CCertificateData data;
    EXPECT_EQ(data.publicKeySizeBits, 2048);
    EXPECT_EQ(data.certSerial, "2");
    EXPECT_EQ(data.validityDays, 365);
    EXPECT_EQ(data.certVersion, 3);
    EXPECT_EQ(data.signatureAlgorithmType, "RSA");
    EXPECT_EQ(data.publicKeyType, "");
    EXPECT_EQ(data.validNotBeforeDate, 0U);
    EXPECT_EQ(data.validNotAfterDate, 0U);
    EXPECT_EQ(data.publicKey, "");
    EXPECT_TRUE(data.v3Extensions.empty());
    EXPECT_EQ(textOf(data), defaultText);
}

TEST(CertificateData, ExportsTheConstantsOfASelfSignedAuthority)
{
    EXPECT_EQ(CCertificateData::DEFAULT_CERT_SERIAL, "2");
    EXPECT_EQ(CCertificateData::DEFAULT_SIGN_ALGO_TYPE, "RSA");
    EXPECT_EQ(CCertificateData::CERTIFICATE_v3_EXT_BASIC_CONSTRAINTS, "critical,CA:TRUE");
    EXPECT_EQ(CCertificateData::CERTIFICATE_v3_EXT_KEY_USAGE, "critical,keyCertSign,CRLSign");
    EXPECT_EQ(CCertificateData::CERTIFICATE_v3_EXT_SUB_KEY_IDENTIFIER, "hash");
    EXPECT_EQ(CCertificateData::CERTIFICATE_v3_EXT_NETSCAPE_CERT_TYPE, "sslCA");
    EXPECT_EQ(CCertificateData::CERTIFICATE_v3_EXT_NETSCAPE_COMMENT, "Self Signed Certificate");
}

TEST(CertificateData, ReadsEachFieldIntoItsMember)
{
    const CCertificateData data = dataOf(fullText);
    EXPECT_EQ(data.publicKeySizeBits, 4096);
    EXPECT_EQ(data.certSerial, "0A:FF");
    EXPECT_EQ(data.validityDays, 30);
    EXPECT_EQ(data.certVersion, 1);
    EXPECT_EQ(data.signatureAlgorithmType, "ecdsa-with-SHA256");
    EXPECT_EQ(data.publicKeyType, "EC");
    EXPECT_EQ(data.validNotBeforeDate, 1700000000U);
    EXPECT_EQ(data.validNotAfterDate, 1800000000U);
    EXPECT_EQ(data.publicKey, "MFkwEwYH");
    EXPECT_EQ(data.subjectName.commonName, "web");
    EXPECT_EQ(data.issuerName.commonName, "root");
}

TEST(CertificateData, CanBeReadBackUnchanged)
{
    EXPECT_EQ(textOf(dataOf(fullText)), fullText);
}

struct ParseRow {
    const char* sentence;
    const char* line;
    const char* written;
};

// The lines of a record that differ from those of another record.
std::string differingLines(const std::string& text, const std::string& former)
{
    std::istringstream lines(text);
    std::istringstream formerLines(former);
    std::string result;
    std::string formerLine;
    for (std::string line; std::getline(lines, line);) {
        std::getline(formerLines, formerLine);
        result += line != formerLine ? line + '\n' : "";
    }
    return result;
}

TEST(CertificateData, ReadsTheFieldsOfATextAndKeepsTheOthers)
{
    const ParseRow rows[] = {
        {"an empty text", "", ""},
        {"an empty value is skipped", "public_key_type \n", ""},
        {"a key without a value is skipped", "cert_serial\n", ""},
        {"an unknown key is skipped", "csr_version 9\n", ""},
        {"keys are case-sensitive", "Cert_serial 9\n", ""},
        {"a key that contains another key is a different key", "xcert_serial 9\npublic_keys 9\n",
         ""},
        {"the first of two lines counts", "cert_serial 8\ncert_serial 9\n", "cert_serial 8\n"},
        {"a comment is dropped", "cert_serial 8 # 9\n#cert_version 9\n", "cert_serial 8\n"},
        {"blanks around a line are dropped", "  cert_serial  8  \n", "cert_serial 8\n"},
        {"a last line without a line feed", "cert_serial 8", "cert_serial 8\n"},
        {"a carriage return belongs to a text value", "cert_serial 8\r\n", "cert_serial 8\r\n"},
        {"a carriage return ends a number", "cert_version 8\r\n", "cert_version 8\n"},
        {"the leading digits are the number", "cert_version 8.9x\n", "cert_version 8\n"},
        {"a negative number", "validity_days -8\n", "validity_days -8\n"},
        {"a number with a plus", "validity_days +8\n", "validity_days 8\n"},
        {"a value without digits is 0", "public_key_size_bits many\n", "public_key_size_bits 0\n"},
        {"sizes are decimal", "public_key_size_bits 010\n", "public_key_size_bits 10\n"},
        {"a hexadecimal size is 0", "public_key_size_bits 0x10\n", "public_key_size_bits 0\n"},
        {"the largest size", "public_key_size_bits 2147483647\n",
         "public_key_size_bits 2147483647\n"},
        {"the smallest size", "public_key_size_bits -2147483648\n",
         "public_key_size_bits -2147483648\n"},
        {"a size beyond 32 bits is truncated", "public_key_size_bits 4294967298\n",
         "public_key_size_bits 2\n"},
        {"a decimal date", "validNotAfterDate 16\n", "validNotAfterDate 16\n"},
        {"a hexadecimal date", "validNotBeforeDate 0x10\n", "validNotBeforeDate 16\n"},
        {"an octal date", "validNotBeforeDate 010\n", "validNotBeforeDate 8\n"},
        {"a date without leading digits", "validNotBeforeDate soon\nvalidNotAfterDate 7soon\n",
         "validNotAfterDate 7\n"},
        {"a negative date is a large number", "validNotBeforeDate -1\n",
         "validNotBeforeDate 18446744073709551615\n"},
        {"a date beyond 64 bits becomes the largest signed number",
         "validNotAfterDate 99999999999999999999\n", "validNotAfterDate 9223372036854775807\n"},
        {"a date below 64 bits becomes the smallest signed number",
         "validNotAfterDate -99999999999999999999\n", "validNotAfterDate 9223372036854775808\n"},
        {"a name is read as a name", "subject_name CN=a, junk, C=b\n", "subject_name C=b, CN=a\n"},
        {"a text keeps its inner blanks", "public_key_type a  b\tc\n", "public_key_type a  b\tc\n"},
    };
    for (const ParseRow& row : rows) {
        EXPECT_EQ(differingLines(textOf(dataOf(row.line)), defaultText), row.written)
            << row.sentence;
    }
}

TEST(CertificateData, KeepsFieldsThatTheTextLacks)
{
    CCertificateData data = dataOf(fullText);
    data.from("cert_version 2\nsubject_name CN=new\n");
    EXPECT_EQ(differingLines(textOf(data), fullText), "cert_version 2\nsubject_name CN=new\n");
    data = dataOf(fullText);
    data.from(defaultText);
    EXPECT_EQ(data.publicKeyType, "EC") << "its line is empty";
    EXPECT_EQ(data.issuerName.commonName, "root") << "its line is empty";
    EXPECT_EQ(data.certVersion, 3);
}

TEST(CertificateData, WritesAnEmptyLineAfterEachExtension)
{
    CCertificateData data = dataOf(fullText);
    data.v3Extensions = {extension("a"), extension("b")};
    EXPECT_EQ(textOf(data), std::string(fullText) +
                                "v3Extention0 obj_id a|short_name |long_name |comment \n\n"
                                "v3Extention1 obj_id b|short_name |long_name |comment \n\n");
    EXPECT_EQ(idsOf(dataOf(textOf(data))), "a b ");
}

TEST(CertificateData, ReadsTwelveExtensionsInTheOrderOfTheirKeys)
{
    CCertificateData data;
    for (int i = 0; i < 12; ++i) {
        data.v3Extensions.push_back(extension(std::to_string(i)));
    }
    EXPECT_EQ(idsOf(dataOf(textOf(data))), "0 1 10 11 2 3 4 5 6 7 8 9 ");
}

TEST(CertificateData, ReadsEveryKeyThatContainsV3ExtentionAsAnExtension)
{
    EXPECT_EQ(idsOf(dataOf("xv3Extentionx obj_id 1\nv3Extention obj_id 2\nv3Extension0 obj_id 3\n"
                           "V3Extention0 obj_id 4\ncert_serial_v3Extention obj_id 5\n")),
              "5 2 1 ");
}

TEST(CertificateData, AppendsTheExtensionsOfASecondText)
{
    CCertificateData data = dataOf("v3Extention0 obj_id 1\n");
    data.from("v3Extention0 comment x\n");
    ASSERT_EQ(data.v3Extensions.size(), 2U);
    EXPECT_EQ(data.v3Extensions[1].comment, "x");
    EXPECT_EQ(data.v3Extensions[1].obj_id, "") << "each extension starts empty";
}

TEST(CertificateData, WritesNumbersIndependentlyOfTheLocale)
{
    CCertificateData data = dataOf(fullText);
    data.v3Extensions.assign(1001, extension("a"));
    const std::string text = textOf(data);
    const support::GroupedNumbers grouped;
    EXPECT_EQ(textOf(data), text);
    EXPECT_EQ(dataOf(text).publicKeySizeBits, 4096);
}

TEST(CertificateData, TracesOnlyItsExtensions)
{
    const support::CapturedTrace trace;
    dataOf("cert_serial 9\nv3Extention0 obj_id 1|x\n");
    EXPECT_EQ(trace.text(), "v3Extention key:v3Extention0\n"
                            "v3Extention value:obj_id 1|x\n"
                            "v3Extentiondata:obj_id 1|x\n"
                            "v3Extention:obj_id 1\n"
                            "v3Extention:x\n");
}

TEST(CertificateData, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    dataOf("cert_serial 9\nv3Extention0 obj_id 1|x\nnonsense\n");
    EXPECT_EQ(errors.text(), "");
}

} // namespace
