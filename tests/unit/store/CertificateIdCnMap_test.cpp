#include <ostrel/CertificateIdCnMap.h>

#include "support/CapturedErrors.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

using ostrel::CertificateIdCnMap;
using Entries = std::map<std::string, std::string>;
using support::thrownBy;
using Ids = std::vector<std::string>;

CertificateIdCnMap mapOf(const Entries& entries)
{
    CertificateIdCnMap map;
    map.entries() = entries;
    return map;
}

TEST(CertificateIdCnMap, StartsEmpty)
{
    const CertificateIdCnMap map;
    EXPECT_TRUE(map.entries().empty());
    EXPECT_FALSE(map.certificateIdExist(""));
    EXPECT_EQ(map.toCertificateIdList().toArray(), Ids());
}

struct ReadRow {
    const char* sentence;
    std::string text;
    Entries expected;
};

TEST(CertificateIdCnMap, ReadsAnIdASpaceAndANameOnEachLine)
{
    const ReadRow rows[] = {
        {"an empty file", "", {}},
        {"one line", "12 Root\n", {{"12", "Root"}}},
        {"no line feed at the end", "12 Root", {{"12", "Root"}}},
        {"three spaces and a name with spaces", "12   My Root CA\n", {{"12", "My Root CA"}}},
        {"no space", "12\n", {}},
        {"a space and a name", " name\n", {{"", "name"}}},
        {"no name", "12 \n", {{"12", ""}}},
        {"two lines with one id", "5 first\n5 second\n", {{"5", "first"}}},
        {"blanks at the end stay", "1 a  \n", {{"1", "a  "}}},
        {"carriage returns stay", "1 a\r\n2 b\r\n", {{"1", "a\r"}, {"2", "b\r"}}},
        {"empty and malformed lines are skipped", "\nx\n1 a\n\t\n\n", {{"1", "a"}}},
        {"ids out of order", "9 i\n10 t\n", {{"10", "t"}, {"9", "i"}}},
    };
    const support::TemporaryDirectory directory;
    const std::string path = directory / "id_cn.map";
    for (const ReadRow& row : rows) {
        support::writeText(path, row.text);
        EXPECT_EQ(CertificateIdCnMap(path).entries(), row.expected) << row.sentence;
        EXPECT_EQ(support::readText(path), row.text) << row.sentence << ": file unchanged";
    }
}

TEST(CertificateIdCnMap, AddsEntriesFromAFileWithoutReplacingNames)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "a", "3 three\n1 one\n");
    support::writeText(directory / "b", "2 two\n3 other\n");
    CertificateIdCnMap map = mapOf({{"1", "kept"}});
    map.readFromFile(directory / "a");
    map.readFromFile(directory / "b");
    EXPECT_EQ(map.entries(), (Entries{{"1", "kept"}, {"2", "two"}, {"3", "three"}}));
}

struct WriteRow {
    const char* sentence;
    Entries entries;
    std::string expected;
};

const WriteRow written[] = {
    {"no entries", {}, ""},
    {"one", {{"12", "Root"}}, "12 Root\n"},
    {"ids in ascending order", {{"9", "i"}, {"10", "t"}}, "10 t\n9 i\n"},
    {"a name with blanks", {{"1", "My  CA "}}, "1 My  CA \n"},
    {"an empty name", {{"1", ""}}, "1 \n"},
    {"an empty id", {{"", "Root"}}, " Root\n"},
    {"two ids with one name", {{"1", "a"}, {"2", "a"}}, "1 a\n2 a\n"},
};

TEST(CertificateIdCnMap, WritesAnIdASpaceAndANameOnEachLine)
{
    const support::TemporaryDirectory directory;
    const std::string path = directory / "id_cn.map";
    for (const bool truncate : {false, true}) {
        for (const WriteRow& row : written) {
            support::writeText(path, std::string(1000, 'x'));
            mapOf(row.entries).writeIntoFile(path, truncate);
            EXPECT_EQ(support::readText(path), row.expected) << row.sentence;
        }
        std::filesystem::remove(path);
        mapOf({{"1", "a"}}).writeIntoFile(path, truncate);
        EXPECT_EQ(support::readText(path), "1 a\n") << "new file";
    }
}

TEST(CertificateIdCnMap, ReadsBackWhatItWroteUnlessANameStartsWithABlank)
{
    const support::TemporaryDirectory directory;
    const std::string path = directory / "id_cn.map";
    for (const WriteRow& row : written) {
        mapOf(row.entries).writeIntoFile(path, true);
        EXPECT_EQ(CertificateIdCnMap(path).entries(), row.entries) << row.sentence;
    }
    mapOf({{"1", " \ta"}}).writeIntoFile(path, true);
    EXPECT_EQ(CertificateIdCnMap(path).entries(), (Entries{{"1", "a"}}));
}

TEST(CertificateIdCnMap, FindsOnlyItsExactIdsAndListsThem)
{
    const CertificateIdCnMap map = mapOf({{"9", "nine"}, {"10", "ten"}});
    EXPECT_TRUE(map.certificateIdExist("9"));
    EXPECT_TRUE(map.certificateIdExist("10"));
    for (const char* id : {"", "1", "ten", "9 ", " 9", "100"}) {
        EXPECT_FALSE(map.certificateIdExist(id)) << id;
    }
    EXPECT_EQ(map.toCertificateIdList().toArray(), (Ids{"10", "9"}));
    EXPECT_TRUE(map.toCertificateIdList().exist("9"));
}

TEST(CertificateIdCnMap, NamesAFileThatItCannotReadAndStaysUnchanged)
{
    const support::TemporaryDirectory directory;
    std::filesystem::create_symlink(directory / "loop", directory / "loop");
    CertificateIdCnMap map = mapOf({{"1", "a"}});
    for (const char* name : {"missing", "missing/id_cn.map", "loop"}) {
        const std::string path = directory / name;
        // Intended: the text says "list", although this is a map.
        const std::string expected =
            "std::runtime_error: Impossible to open the list file " + path + ".";
        EXPECT_EQ(thrownBy([&] { map.readFromFile(path); }), expected);
        EXPECT_EQ(thrownBy([&] { const CertificateIdCnMap unused(path); }), expected);
    }
    EXPECT_EQ(map.entries(), (Entries{{"1", "a"}}));
}

TEST(CertificateIdCnMap, NamesAFileThatItCannotWriteAndDoesNotChangeIt)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "directory/kept", "text");
    const CertificateIdCnMap map = mapOf({{"1", "a"}});
    for (const bool truncate : {false, true}) {
        for (const char* name : {"directory", "missing/id_cn.map", "directory/kept/id_cn.map"}) {
            const std::string path = directory / name;
            EXPECT_EQ(thrownBy([&] { map.writeIntoFile(path, truncate); }),
                      "std::runtime_error: Impossible to open the list file " + path + ".");
        }
    }
    EXPECT_EQ(support::readText(directory / "directory/kept"), "text");
    EXPECT_FALSE(std::filesystem::exists(directory / "missing"));
}

TEST(CertificateIdCnMap, IgnoresReadAndWriteErrorsAndTracesNothing)
{
    const support::TemporaryDirectory directory;
    const support::CapturedTrace trace;
    EXPECT_TRUE(CertificateIdCnMap(directory.path()).entries().empty())
        << "a directory can be opened";
    EXPECT_EQ(thrownBy([] { mapOf({{"1", "a"}}).writeIntoFile("/dev/full", true); }), "nothing");
    EXPECT_NE(thrownBy([&] { const CertificateIdCnMap map(directory / "missing"); }), "nothing");
    EXPECT_EQ(trace.text(), "");
}

} // namespace
