#include <ostrel/CertificateInfo.h>

#include "support/CapturedErrors.h"
#include "support/TextFiles.h"

#include <cxxtools/serializationinfo.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <type_traits>

namespace
{

using ostrel::CertificateInfo;
using Map = std::map<std::string, std::string>;

static_assert(std::has_virtual_destructor<CertificateInfo>::value, "deleted through a base class");

CertificateInfo someInfo()
{
    CertificateInfo info;
    info.issuerName = "CN=root";
    info.subjectName = "CN=web";
    info.isCA = true;
    info.validFrom = 10;
    info.validUntil = 18446744073709551615U;
    info.validIPs = {"10.0.0.1", "::1", "10.0.0.2"};
    info.validHostnames = {"web", "web.example.com"};
    return info;
}

std::string textOf(const CertificateInfo& info)
{
    std::ostringstream out;
    out << info;
    return out.str();
}

TEST(CertificateInfo, StartsEmpty)
{
    const CertificateInfo info;
    EXPECT_EQ(info.getMap(), (Map{{"issuedTo", ""},
                                  {"issuedBy", ""},
                                  {"CA", "no"},
                                  {"CASigned", "yes"},
                                  {"selfSigned", "no"},
                                  {"validFrom", "0"},
                                  {"validUntil", "0"}}));
    EXPECT_EQ(textOf(info), "issuerName: \nsubjectName: \nCA: no\nCASigned: yes\nselfSigned: no\n"
                            "validFrom: 0\nvalidUntil: 0\n");
}

TEST(CertificateInfo, NumbersEveryListLineOfItsTextWith1)
{
    EXPECT_EQ(textOf(someInfo()), "issuerName: CN=root\n"
                                  "subjectName: CN=web\n"
                                  "CA: yes\n"
                                  "CASigned: yes\n"
                                  "selfSigned: no\n"
                                  "validFrom: 10\n"
                                  "validUntil: 18446744073709551615\n"
                                  "IP.1: 10.0.0.1\n"
                                  "IP.1: ::1\n"
                                  "IP.1: 10.0.0.2\n"
                                  "DNS.1: web\n"
                                  "DNS.1: web.example.com\n");
}

TEST(CertificateInfo, NumbersTheTenthAddressOfTheMapWith10)
{
    CertificateInfo info;
    info.validIPs.resize(11);
    info.validIPs[9] = "tenth";
    EXPECT_EQ(info.getMap().at("IP.10"), "tenth");
    EXPECT_EQ(info.getMap().count("IP.11"), 1U);
    EXPECT_EQ(info.getMap().count("IP.0"), 0U);
}

TEST(CertificateInfo, WritesItsDatesInTheNumberFormatOfTheStream)
{
    std::ostringstream out;
    out << std::hex << std::showbase << someInfo();
    EXPECT_NE(out.str().find("validFrom: 0xa\nvalidUntil: 0xffffffffffffffff\n"),
              std::string::npos);
}

TEST(CertificateInfo, FlushesTheStreamAndReturnsIt)
{
    struct : std::stringbuf {
        int sync() override
        {
            textWhenFlushed = str();
            return 0;
        }
        std::string textWhenFlushed;
    } buffer;
    std::ostream out(&buffer);
    EXPECT_EQ(&(out << someInfo()), &out);
    EXPECT_EQ(buffer.textWhenFlushed, textOf(someInfo()));
}

TEST(CertificateInfo, WritesFlagsAsYesAndNo)
{
    EXPECT_EQ(ostrel::boolToString(true), "yes");
    EXPECT_EQ(ostrel::boolToString(false), "no");
}

// The tree of an info without the member "validHostnames".
cxxtools::SerializationInfo treeWithoutHostNames()
{
    cxxtools::SerializationInfo tree;
    tree.addMember("data_structure_version") <<= 1;
    tree.addMember("issuerName") <<= std::string("CN=root");
    tree.addMember("subjectName") <<= std::string("CN=web");
    tree.addMember("isCA") <<= true;
    tree.addMember("isSelfSigned") <<= true;
    tree.addMember("validFrom") <<= 1U;
    tree.addMember("validUntil") <<= 2U;
    tree.addMember("validIPs") <<= std::vector<std::string>{"::1"};
    return tree;
}

TEST(CertificateInfo, IsReadFromATree)
{
    cxxtools::SerializationInfo tree = treeWithoutHostNames();
    tree.addMember("validHostnames") <<= std::vector<std::string>{"web"};
    CertificateInfo info;
    tree >>= info;
    EXPECT_EQ(textOf(info), "issuerName: CN=root\nsubjectName: CN=web\nCA: yes\nCASigned: no\n"
                            "selfSigned: yes\nvalidFrom: 1\nvalidUntil: 2\nIP.1: ::1\n"
                            "DNS.1: web\n");
}

TEST(CertificateInfo, ReportsABadFormatWhenTheTreeLacksAMember)
{
    CertificateInfo info;
    for (const auto& tree : {treeWithoutHostNames(), cxxtools::SerializationInfo()}) {
        try {
            tree >>= info;
            FAIL() << "was read";
        } catch (const std::runtime_error& caught) {
            EXPECT_STREQ(caught.what(), "Error: Bad format for Certificate info file!");
        }
    }
    EXPECT_EQ(info.issuerName, "CN=root") << "members before the missing one are read";
}

// The text of a file stream's failure.
std::string streamFailure()
{
    try {
        std::ifstream stream;
        stream.exceptions(std::ifstream::failbit);
        stream.open("/nonexistent");
    } catch (const std::ios_base::failure& caught) {
        return caught.what();
    }
    return "nothing";
}

struct FileRow {
    const char* sentence;
    std::string path;
    std::string error;
};

TEST(CertificateInfo, ReportsWhyAFileCannotBeRead)
{
    const support::TemporaryDirectory directory;
    const std::string socket = directory / "socket";
    support::makeUnopenable(socket);
    support::writeText(directory / "bad", "{");
    const std::string missing = " for reading! Because the file does not exist.";
    const FileRow rows[] = {
        {"a missing file", directory / "none",
         "Error: Impossible to open " + (directory / "none") + missing},
        {"a missing directory", directory / "none/1.info",
         "Error: Impossible to open " + (directory / "none/1.info") + missing},
        {"an empty path", "", "Error: Impossible to open " + missing},
        {"a file that cannot be opened", socket,
         "Error: Impossible to open " + socket + " for reading!" + streamFailure()},
        {"a file that can be opened but not read", directory.path(),
         "Error: Impossible to open " + directory.path() + " for reading!" + streamFailure()},
        {"a file that is not a document", directory / "bad",
         "Generic exception caught while opening " + (directory / "bad") + " for reading!"},
    };
    const support::CapturedTrace trace;
    for (const FileRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        try {
            const CertificateInfo info(row.path);
            FAIL() << "was read";
        } catch (const std::runtime_error& caught) {
            EXPECT_EQ(caught.what(), row.error);
        }
    }
    EXPECT_EQ(trace.text(), "") << "failures are thrown, not written";
}

} // namespace
