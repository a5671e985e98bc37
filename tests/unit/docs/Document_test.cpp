#include "support/Document.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{

using support::bytesOfDump;
using support::Document;
using support::dumpOf;

const char* const seventeenBytes =
    "00000000  61 62 63 64 65 66 67 68  69 6a 6b 6c 6d 6e 00 ff  |abcdefghijklmn..|\n"
    "00000010  0a                                                |.|\n"
    "00000011\n";

TEST(Dump, MatchesTheOutputOfHexdump)
{
    EXPECT_EQ(dumpOf(std::string("abcdefghijklmn\0\xff\n", 17)), seventeenBytes);
    EXPECT_EQ(dumpOf(""), "00000000\n");
}

TEST(Dump, CanBeReadBack)
{
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(bytesOfDump(dumpOf(bytes)), bytes);
        bytes += static_cast<char>(i);
    }
}

struct BadRow {
    const char* sentence;
    const char* dump;
};

const BadRow badDumps[] = {
    {"nothing", ""},
    {"a missing end", "00000000  61                                                |a|\n"},
    {"an end before the last byte",
     "00000000  61                                                |a|\n00000000\n"},
    {"a wrong offset",
     "00000001  61                                                |a|\n00000001\n"},
    {"wrong characters",
     "00000000  61                                                |b|\n00000001\n"},
    {"one byte too many",
     "00000000  61 62                                             |a|\n00000001\n"},
    {"a word that is not a byte",
     "00000000  6g                                                |a|\n00000001\n"},
    {"another column",
     "00000000 61                                                 |a|\n00000001\n"},
    {"other text", "what follows\n"},
};

TEST(Dump, IsRefusedWhenItIsInconsistent)
{
    for (const BadRow& row : badDumps) {
        EXPECT_THROW(bytesOfDump(row.dump), std::runtime_error) << row.sentence;
    }
}

TEST(DocumentText, ContainsTheBytesOfAnExample)
{
    const Document document("# Title\n\n<!-- example: a -->\n```text\n" + dumpOf("one\n\ntwo\n") +
                            "```\n\ntext\n");
    EXPECT_EQ(document.bytes("a"), "one\n\ntwo\n");
    EXPECT_THROW(document.bytes("b"), std::runtime_error);
}

TEST(DocumentText, ContainsTheCellsOfATableWithoutBackquotes)
{
    const Document document("\n<!-- table: t -->\n| head | head |\n|---|---|\n"
                            "| `a b` |  |\n| c | `d` and e |\n| ` f ` | g |\n\ntext\n");
    EXPECT_EQ(document.table("t"),
              (std::vector<Document::Row>{{"a b", ""}, {"c", "d and e"}, {" f ", "g"}}));
    EXPECT_THROW(document.table("u"), std::runtime_error);
}

TEST(DocumentText, IsRefusedInAnyOtherForm)
{
    const std::string dump = dumpOf("a");
    EXPECT_THROW(Document("\n<!-- example: a -->\n" + dump + "\n").bytes("a"), std::runtime_error);
    EXPECT_THROW(Document("\n<!-- example: a -->\n\n```text\n" + dump + "```\n").bytes("a"),
                 std::runtime_error);
    EXPECT_THROW(Document("\n<!-- example: a -->\n```text\n" + dump + "\n").bytes("a"),
                 std::runtime_error);
    EXPECT_THROW(Document("\n<!-- table: t -->\n| head |\n|---|\n\n").table("t"),
                 std::runtime_error);
    EXPECT_THROW(Document("\n<!-- table: t -->\n| head |\ntext\n\n").table("t"),
                 std::runtime_error);
}

} // namespace
