#include <ostrel/Tools.h>

#include "support/TextFiles.h"

#include <gtest/gtest.h>

namespace
{

using ostrel::Tools;

const std::string certificate = "-----BEGIN CERTIFICATE-----\n"
                                "MIIBhTCCASugAwIBAgIQIRi6zePL6mKjOipn+dNuaTAKBggqhkjOPQQDAjASMRAw\n"
                                "DgYDVQQKEwdBY21lIENvMB4XDTE3MTAyMDE5NDMwNloXDTE4MTAyMDE5NDMwNlow\n"
                                "-----END CERTIFICATE-----\n";

std::string changed(const std::string& from, const std::string& to)
{
    std::string text = certificate;
    return text.replace(text.find(from), from.size(), to);
}

struct Row {
    const char* sentence;
    std::string other;
    bool expected;
};

// Each row is compared with `certificate`, in both orders.
const Row rows[] = {
    {"the same text", certificate, true},
    {"other text before the BEGIN line", "subject=/CN=a\n\n" + certificate, true},
    {"other text after the END line", certificate + "-----BEGIN", true},
    {"another second certificate", certificate + changed("MIIB", "MIIC"), true},
    {"another first certificate", changed("MIIB", "MIIC") + certificate, false},
    {"another last line", changed("DgYD", "DgYE"), false},
    {"another line length", changed("ASug", "AS\nug"), false},
    {"a blank at the end of a line", changed("SMRAw\n", "SMRAw \n"), false},
    {"a carriage return in one line", changed("EwdB", "Ew\rdB"), false},
    {"a BEGIN line with a carriage return",
     changed("BEGIN CERTIFICATE-----", "BEGIN CERTIFICATE-----\r"), false},
    {"a BEGIN line with a blank", " " + certificate, false},
    {"another kind of PEM text", changed("BEGIN CERTIFICATE", "BEGIN PRIVATE KEY"), false},
    {"truncated after its first line feed", certificate.substr(0, 28), true},
    {"truncated before its first line feed", certificate.substr(0, 27), true},
    {"truncated before its END line", certificate.substr(0, certificate.find("-----END")), true},
    {"truncated within a line", certificate.substr(0, 40), false},
    {"no line feed after the END line", certificate.substr(0, certificate.size() - 1), true},
    {"an empty file", "", false},
};

TEST(IsTheSameCertificate, ComparesTheFirstCertificatesLineByLine)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "a", certificate);
    for (const Row& row : rows) {
        support::writeText(directory / "b", row.other);
        EXPECT_EQ(Tools::isTheSameCertificate(directory / "a", directory / "b"), row.expected)
            << row.sentence;
        EXPECT_EQ(Tools::isTheSameCertificate(directory / "b", directory / "a"), row.expected)
            << row.sentence << ", in the other order";
    }
}

TEST(IsTheSameCertificate, ReturnsFalseForAFileThatCannotBeRead)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "a", certificate);
    for (const std::string& path :
         {directory / "missing", directory.path(), std::string("/dev/null"), std::string()}) {
        EXPECT_FALSE(Tools::isTheSameCertificate(directory / "a", path)) << path;
        EXPECT_FALSE(Tools::isTheSameCertificate(path, directory / "a")) << path;
        EXPECT_FALSE(Tools::isTheSameCertificate(path, path)) << path;
    }
}

TEST(IsTheSameCertificate, DoesNotChangeTheFiles)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "a", certificate);
    const std::size_t before = support::openDescriptorCount();
    EXPECT_TRUE(Tools::isTheSameCertificate(directory / "a", directory / "a"));
    EXPECT_EQ(support::readText(directory / "a"), certificate);
    EXPECT_EQ(support::openDescriptorCount(), before);
}

} // namespace
