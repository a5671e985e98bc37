#include <ostrel/CertificateIdList.h>

#include "support/CapturedErrors.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

using ostrel::CertificateIdList;
using support::thrownBy;
using Ids = std::vector<std::string>;

struct ReadRow {
    const char* sentence;
    std::string text;
    Ids expected;
};

const ReadRow files[] = {
    {"an empty file", "", {}},
    {"one line", "a\n", {"a"}},
    {"no line feed at the end", "a\nb", {"a", "b"}},
    {"an empty line and a repetition", "3\n\n1\n3", {"1", "3"}},
    {"empty lines everywhere", "\n\na\n\n\nb\n\n", {"a", "b"}},
    {"only empty lines", "\n\n\n", {}},
    {"ids out of order", "9\n10\n", {"10", "9"}},
    {"blanks stay", " a \n\tb\t\n \n", {"\tb\t", " ", " a "}},
    {"a carriage return stays", "a\r\n\r\n", {"\r", "a\r"}},
    {"a comment is an id", "#a\n", {"#a"}},
    {"a NUL stays", std::string("a\0b\n", 4), {std::string("a\0b", 3)}},
    {"a long line", std::string(100000, 'x') + "\n", {std::string(100000, 'x')}},
};

TEST(CertificateIdListFile, IsReadAsOneIdPerLine)
{
    const support::TemporaryDirectory directory;
    const std::string path = directory / "list.txt";
    for (const ReadRow& row : files) {
        support::writeText(path, row.text);
        EXPECT_EQ(CertificateIdList(path).toArray(), row.expected) << row.sentence;
        EXPECT_EQ(support::readText(path), row.text) << row.sentence << ": file unchanged";
    }
}

TEST(CertificateIdListFile, IsAddedToTheIdsOfTheList)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "a", "3\n1\n");
    support::writeText(directory / "b", "2\n3\n");
    CertificateIdList list(Ids{"5", "2"});
    list.readFromFile(directory / "a");
    list.readFromFile(directory / "b");
    EXPECT_EQ(list.toArray(), (Ids{"1", "2", "3", "5"}));
    EXPECT_TRUE(list.exist("1"));
}

TEST(CertificateIdListFile, IsWrittenAsOneIdPerLineInAscendingOrder)
{
    const support::TemporaryDirectory directory;
    const std::string path = directory / "list.txt";
    for (const bool truncate : {false, true}) {
        SCOPED_TRACE(truncate);
        CertificateIdList(Ids{"9", "10", "9"}).writeIntoFile(path, truncate);
        EXPECT_EQ(support::readText(path), "10\n9\n") << "new file";
        CertificateIdList(Ids{"a"}).writeIntoFile(path, truncate);
        EXPECT_EQ(support::readText(path), "a\n") << "the former file was longer";
        CertificateIdList().writeIntoFile(path, truncate);
        EXPECT_EQ(support::readText(path), "") << "empty list";
        std::filesystem::remove(path);
    }
}

TEST(CertificateIdListFile, CanBeReadBackUnchanged)
{
    const support::TemporaryDirectory directory;
    const std::string path = directory / "list.txt";
    for (const ReadRow& row : files) {
        CertificateIdList(row.expected).writeIntoFile(path, true);
        EXPECT_EQ(CertificateIdList(path).toArray(), row.expected) << row.sentence;
    }
}

TEST(CertificateIdListFile, LosesTheEmptyIdWhenItIsReadBack)
{
    const support::TemporaryDirectory directory;
    const std::string path = directory / "list.txt";
    CertificateIdList(Ids{"", "a"}).writeIntoFile(path, true);
    EXPECT_EQ(support::readText(path), "\na\n");
    EXPECT_EQ(CertificateIdList(path).toArray(), Ids{"a"});
}

TEST(CertificateIdListFile, ThatCannotBeReadIsNamedAndDoesNotChangeTheList)
{
    const support::TemporaryDirectory directory;
    std::filesystem::create_symlink(directory / "loop", directory / "loop");
    support::writeText(directory / "file", "");
    CertificateIdList list(Ids{"b", "a"});
    for (const char* name : {"missing", "missing/list.txt", "loop", "file/list.txt", ""}) {
        const std::string path = *name != '\0' ? directory / name : "";
        const std::string expected =
            "std::runtime_error: Impossible to open the list file " + path + ".";
        EXPECT_EQ(thrownBy([&] { list.readFromFile(path); }), expected);
        EXPECT_EQ(thrownBy([&] { const CertificateIdList unused(path); }), expected);
    }
    EXPECT_EQ(list.toArray(), (Ids{"a", "b"}));
}

TEST(CertificateIdListFile, ThatCannotBeWrittenIsNamedAndNotChanged)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "directory/kept", "text");
    const CertificateIdList list(Ids{"a"});
    for (const bool truncate : {false, true}) {
        for (const char* name : {"directory", "missing/list.txt", "directory/kept/list.txt"}) {
            const std::string path = directory / name;
            EXPECT_EQ(thrownBy([&] { list.writeIntoFile(path, truncate); }),
                      "std::runtime_error: Impossible to open the list file " + path + ".");
        }
    }
    EXPECT_EQ(support::readText(directory / "directory/kept"), "text");
    EXPECT_FALSE(std::filesystem::exists(directory / "missing"));
}

TEST(CertificateIdListFile, IgnoresReadAndWriteErrorsOnceItIsOpen)
{
    const support::TemporaryDirectory directory;
    EXPECT_EQ(CertificateIdList(directory.path()).toArray(), Ids()) << "a directory can be opened";
    EXPECT_EQ(thrownBy([] { CertificateIdList(Ids{"a"}).writeIntoFile("/dev/full", true); }),
              "nothing");
}

TEST(CertificateIdListFile, IsNeverTraced)
{
    const support::TemporaryDirectory directory;
    const support::CapturedTrace trace;
    CertificateIdList(Ids{"a"}).writeIntoFile(directory / "list.txt", true);
    const CertificateIdList list(directory / "list.txt");
    EXPECT_NE(thrownBy([&] { const CertificateIdList missing(directory / "missing"); }), "nothing");
    EXPECT_EQ(trace.text(), "");
}

} // namespace
