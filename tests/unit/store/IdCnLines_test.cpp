#include "store/IdCnLines.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace
{

using ostrel::IdCnLine;
using ostrel::idCnLinesOf;
using ostrel::idsByCN;
using Ids = std::vector<std::string>;
using Lines = std::vector<IdCnLine>;

struct Row {
    const char* sentence;
    std::string text;
    Lines expected;
};

const Row rows[] = {
    {"an empty text", "", {}},
    {"one line", "12 Root\n", {{"12", "Root"}}},
    {"no line feed at the end", "12 Root", {{"12", "Root"}}},
    {"a name with blanks", "12 My Root  CA\n", {{"12", "My Root  CA"}}},
    {"blanks before the name", "12   My Root CA\n", {{"12", "My Root CA"}}},
    {"a tab before the name", "12 \t Root\n", {{"12", "Root"}}},
    {"blanks after the name stay", "12 Root \t\n", {{"12", "Root \t"}}},
    {"a carriage return stays", "12 Root\r\n", {{"12", "Root\r"}}},
    {"no name after the space", "12 \n", {{"12", ""}}},
    {"a name of blanks", "12    \n", {{"12", ""}}},
    {"no id before the space", " Root\n", {{"", "Root"}}},
    {"only a space", " \n", {{"", ""}}},
    {"an empty line is skipped", "\n\n1 a\n\n", {{"1", "a"}}},
    {"a line without a space is skipped", "12\n1 a\n\t\n13", {{"1", "a"}}},
    {"a tab does not separate", "12\tRoot\n", {}},
    {"a tab belongs to the id", "\t12 Root\n", {{"\t12", "Root"}}},
    {"a comment is a line like any other", "# Root\n", {{"#", "Root"}}},
    {"ids in ascending order", "9 i\n10 t\n", {{"10", "t"}, {"9", "i"}}},
    {"the first line of an id wins", "5 a\n5 b\n", {{"5", "a"}}},
    {"the first line of an id wins over a distant one",
     "5 z\n1 b\n5 a\n",
     {{"1", "b"}, {"5", "z"}}},
    {"several ids with one name", "1 a\n2 a\n", {{"1", "a"}, {"2", "a"}}},
};

TEST(IdCnLines, AreTheFirstEntryOfEachIdInAscendingOrder)
{
    for (const Row& row : rows) {
        EXPECT_EQ(idCnLinesOf(row.text), row.expected) << row.sentence;
    }
}

TEST(IdCnLines, AreViewsIntoTheText)
{
    const std::string text = "2 b\n1 a\n";
    for (const IdCnLine& line : idCnLinesOf(text)) {
        EXPECT_GE(line.first.data(), text.data());
        EXPECT_LT(line.second.data(), text.data() + text.size());
    }
}

TEST(IdCnLines, KeepTheFirstNameForAnyOrderOfManyIds)
{
    std::string text;
    std::map<std::string, std::string> expected;
    for (unsigned int i = 0; i < 5000; ++i) {
        // 377 and 1000 are coprime, so each id occurs five times, far apart.
        const std::string id = std::to_string(i * 377 % 1000);
        text += id + " name " + std::to_string(i) + '\n';
        expected.emplace(id, "name " + std::to_string(i));
    }
    const Lines lines = idCnLinesOf(text);
    EXPECT_EQ(lines, Lines(expected.begin(), expected.end()));
}

// The ids with the name `cn` among the entries themselves.
Ids idsAmong(const Lines& lines, const std::string& cn)
{
    Ids ids;
    for (const IdCnLine& line : lines) {
        if (line.second == cn) {
            ids.emplace_back(line.first);
        }
    }
    return ids;
}

TEST(IdCnLines, ReturnTheIdsOfEachName)
{
    for (const Row& row : rows) {
        for (const char* cn : {"", "a", "b", "i", "Root", "root", "Root ", "Roo", "absent"}) {
            EXPECT_EQ(idsByCN(row.text, cn), idsAmong(row.expected, cn))
                << row.sentence << ": " << cn;
        }
    }
}

struct IdsRow {
    const char* sentence;
    std::string text;
    Ids expected;
};

TEST(IdCnLines, ReturnEachIdOnceAndOnlyByItsFirstName)
{
    const IdsRow idsRows[] = {
        {"ids in order", "1 a\n2 b\n3 a\n", {"1", "3"}},
        {"ids out of order at the end", "2 a\n3 a\n1 a\n", {"1", "2", "3"}},
        {"ids out of order at the start", "3 a\n1 a\n2 a\n", {"1", "2", "3"}},
        {"an id twice in a row", "1 a\n1 a\n2 a\n", {"1", "2"}},
        {"an id twice, apart", "1 a\n2 a\n1 a\n", {"1", "2"}},
        {"a later name does not count", "1 b\n2 a\n1 a\n", {"2"}},
        {"a later other name does not remove the id", "1 a\n2 a\n1 b\n", {"1", "2"}},
        {"the empty id comes first", "1 a\n a\n", {"", "1"}},
        {"the empty id twice", " a\n a\n", {""}},
    };
    for (const IdsRow& row : idsRows) {
        EXPECT_EQ(idsByCN(row.text, "a"), row.expected) << row.sentence;
    }
}

} // namespace
