#include <ostrl/CCSRData.h>

#include "support/CapturedErrors.h"
#include "support/GroupedNumbers.h"
#include "unit/records/RecordText.h"

#include <gtest/gtest.h>

namespace
{

using ostrl::CCSRData;
using record_text::textOf;
constexpr auto dataOf = record_text::recordOf<CCSRData>;

const char* const defaultText = "subject_name \n"
                                "public_key_size_bits 2048\n"
                                "csr_version 3\n"
                                "public_key_type \n"
                                "signatureAlgorithm_type \n";

const char* const fullText = "subject_name C=US, OU=a, CN=web\n"
                             "public_key_size_bits 4096\n"
                             "csr_version 1\n"
                             "public_key_type EC\n"
                             "signatureAlgorithm_type ecdsa-with-SHA256\n";

TEST(CsrData, StartsWithOnlyAKeySizeAndAVersion)
{
    const CCSRData data;
    EXPECT_EQ(data.publicKeySizeBits, 2048);
    EXPECT_EQ(data.csrVersion, 3);
    EXPECT_EQ(data.publicKeyType, "");
    EXPECT_EQ(data.signatureAlgorithmType, "") << "unlike a certificate's";
    EXPECT_TRUE(data.v3Extensions.empty());
    EXPECT_EQ(textOf(data), defaultText);
}

TEST(CsrData, ReadsEachFieldIntoItsMember)
{
    const CCSRData data = dataOf(fullText);
    EXPECT_EQ(data.subjectName.commonName, "web");
    EXPECT_EQ(data.publicKeySizeBits, 4096);
    EXPECT_EQ(data.csrVersion, 1);
    EXPECT_EQ(data.publicKeyType, "EC");
    EXPECT_EQ(data.signatureAlgorithmType, "ecdsa-with-SHA256");
}

TEST(CsrData, CanBeReadBackUnchanged)
{
    EXPECT_EQ(textOf(dataOf(fullText)), fullText);
}

struct Row {
    const char* sentence;
    const char* line;
};

TEST(CsrData, IgnoresOtherFields)
{
    const Row rows[] = {
        {"an empty text", ""},
        {"a line without a value", "public_key_type \ncsr_version\n"},
        {"an issuer", "issuer_name CN=root\n"},
        {"a certificate's fields", "cert_serial 9\ncert_version 9\nvalidity_days 9\n"},
        {"dates", "validNotBeforeDate 9\nvalidNotAfterDate 9\n"},
        {"a public key", "public_key 9\n"},
        {"a comment", "# csr_version 9\n"},
        {"a key that differs in case", "Csr_version 9\n"},
    };
    for (const Row& row : rows) {
        const CCSRData data = dataOf(row.line);
        EXPECT_EQ(textOf(data), defaultText) << row.sentence;
    }
}

TEST(CsrData, ReadsNumbersByTheirLeadingDigits)
{
    EXPECT_EQ(dataOf("csr_version 8x\n").csrVersion, 8);
    EXPECT_EQ(dataOf("csr_version x8\n").csrVersion, 0);
    EXPECT_EQ(dataOf("public_key_size_bits -010\n").publicKeySizeBits, -10);
}

TEST(CsrData, KeepsFieldsThatTheTextLacks)
{
    CCSRData data = dataOf(fullText);
    data.from(defaultText);
    EXPECT_EQ(textOf(data), "subject_name C=US, OU=a, CN=web\n"
                            "public_key_size_bits 2048\n"
                            "csr_version 3\n"
                            "public_key_type EC\n"
                            "signatureAlgorithm_type ecdsa-with-SHA256\n");
}

TEST(CsrData, WritesItsExtensionsLast)
{
    CCSRData data = dataOf("v3Extention7 obj_id a|comment 1\n");
    data.from("x_v3Extention obj_id b|comment 2\n");
    EXPECT_EQ(textOf(data), std::string(defaultText) +
                                "v3Extention0 obj_id a|short_name |long_name |comment 1\n\n"
                                "v3Extention1 obj_id b|short_name |long_name |comment 2\n\n");
}

TEST(CsrData, ReadsTwelveExtensionsInTheOrderOfTheirKeys)
{
    CCSRData data;
    data.v3Extensions.resize(12);
    for (std::size_t i = 0; i < 12; ++i) {
        data.v3Extensions[i].comment = std::to_string(i);
    }
    std::string order;
    for (const ostrl::v3Ext& each : dataOf(textOf(data)).v3Extensions) {
        order += each.comment + ' ';
    }
    EXPECT_EQ(order, "0 1 10 11 2 3 4 5 6 7 8 9 ");
}

TEST(CsrData, WritesNumbersIndependentlyOfTheLocale)
{
    const support::GroupedNumbers grouped;
    EXPECT_EQ(textOf(CCSRData()), defaultText);
}

TEST(CsrData, TracesOnlyItsExtensions)
{
    const support::CapturedTrace trace;
    dataOf("csr_version 9\nv3Extention0\n");
    EXPECT_EQ(trace.text(), "") << "a line without a space is not a field";
    dataOf("csr_version 9\nv3Extention0 comment x\n");
    EXPECT_EQ(trace.text(), "v3Extention key:v3Extention0\n"
                            "v3Extention value:comment x\n"
                            "v3Extentiondata:comment x\n"
                            "v3Extention:comment x\n");
}

TEST(CsrData, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    dataOf("v3Extention0 comment x\n");
    EXPECT_EQ(errors.text(), "");
}

} // namespace
