#include "tools/PemText.h"

#include <gtest/gtest.h>

namespace
{

const std::string begin = "-----BEGIN CERTIFICATE-----\n";
const std::string end = "-----END CERTIFICATE-----\n";

struct FirstCertificateRow {
    const char* sentence;
    std::string text;
    std::string expected;
};

TEST(FirstCertificate, ConsistsOfTheLinesFromTheFirstBeginToItsEnd)
{
    const FirstCertificateRow rows[] = {
        {"a single certificate", begin + "AA\n" + end, begin + "AA\n" + end},
        {"text before and after is dropped", "x\n" + begin + "AA\n" + end + "y\n",
         begin + "AA\n" + end},
        {"a second certificate is dropped", begin + "AA\n" + end + begin + "BB\n" + end,
         begin + "AA\n" + end},
        {"a missing line feed after the END line is added", begin + "AA\n-----END CERTIFICATE-----",
         begin + "AA\n" + end},
        {"a certificate cut off after a line feed ends in an empty line", begin + "AA\n",
         begin + "AA\n\n"},
        {"a certificate cut off within a line ends there", begin + "AA", begin + "AA\n"},
        {"without a BEGIN line, the last line", "x\ny", "y\n"},
        {"without a BEGIN line, after a line feed, an empty line", "x\ny\n", "\n"},
        {"an empty text gives an empty line", "", "\n"},
        {"carriage returns hide the BEGIN line",
         "-----BEGIN CERTIFICATE-----\r\nAA\r\n-----END CERTIFICATE-----\r\n", "\n"},
    };
    for (const FirstCertificateRow& row : rows) {
        EXPECT_EQ(ostrel::firstCertificateOf(row.text), row.expected) << row.sentence;
    }
}

struct SameRow {
    const char* sentence;
    std::string a;
    std::string b;
    bool expected;
};

TEST(SameCertificate, IsDecidedLineByLine)
{
    const std::string whole = begin + "AA\nBB\n" + end;
    const SameRow rows[] = {
        {"equal texts", whole, whole, true},
        {"other text before the BEGIN line", "x\n" + whole, "y\n\n" + whole, true},
        {"other text after the END line", whole + "x\n", whole, true},
        {"another line length", whole, begin + "A\nABB\n" + end, false},
        {"other line ends", whole, begin + "AA\r\nBB\r\n" + end, false},
        {"one differs in its last line", whole, begin + "AA\nBC\n" + end, false},
        {"one is cut off after equal lines", whole, begin + "AA\n", true},
        {"one is cut off within a line", whole, begin + "A", false},
        {"only a BEGIN line", whole, "-----BEGIN CERTIFICATE-----", true},
        {"one has no BEGIN line", whole, "AA\nBB\n" + end, false},
        {"both are empty", "", "", false},
    };
    for (const SameRow& row : rows) {
        EXPECT_EQ(ostrel::isSameCertificateText(row.a, row.b), row.expected) << row.sentence;
        EXPECT_EQ(ostrel::isSameCertificateText(row.b, row.a), row.expected)
            << row.sentence << ", in the other order";
    }
}

TEST(UnixLineEnds, DropEveryCarriageReturnBeforeALineFeed)
{
    const FirstCertificateRow rows[] = {
        {"nothing to do", "a\nb", "a\nb"},
        {"an empty text", "", ""},
        {"every line", "a\r\nb\r\n", "a\nb\n"},
        {"a lone carriage return stays", "a\rb\r", "a\rb\r"},
        {"of two carriage returns the first stays", "a\r\r\nb", "a\r\nb"},
        {"line feed first", "a\n\rb", "a\n\rb"},
    };
    for (const FirstCertificateRow& row : rows) {
        EXPECT_EQ(ostrel::withUnixLineEnds(row.text), row.expected) << row.sentence;
    }
}

} // namespace
