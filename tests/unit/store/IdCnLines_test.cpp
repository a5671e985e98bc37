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
    {"blanks in front of the name", "12   My Root CA\n", {{"12", "My Root CA"}}},
    {"a tab in front of the name", "12 \t Root\n", {{"12", "Root"}}},
    {"blanks behind the name stay", "12 Root \t\n", {{"12", "Root \t"}}},
    {"a carriage return stays", "12 Root\r\n", {{"12", "Root\r"}}},
    {"no name behind the space", "12 \n", {{"12", ""}}},
    {"a name of blanks", "12    \n", {{"12", ""}}},
    {"no id in front of the space", " Root\n", {{"", "Root"}}},
    {"a space alone", " \n", {{"", ""}}},
    {"an empty line is skipped", "\n\n1 a\n\n", {{"1", "a"}}},
    {"a line without a space is skipped", "12\n1 a\n\t\n13", {{"1", "a"}}},
    {"a tab parts nothing", "12\tRoot\n", {}},
    {"a tab belongs to the id", "\t12 Root\n", {{"\t12", "Root"}}},
    {"a comment is a line", "# Root\n", {{"#", "Root"}}},
    {"in order by id", "9 i\n10 t\n", {{"10", "t"}, {"9", "i"}}},
    {"the first line of an id wins", "5 a\n5 b\n", {{"5", "a"}}},
    {"it wins over a later one apart", "5 z\n1 b\n5 a\n", {{"1", "b"}, {"5", "z"}}},
    {"several ids may have one name", "1 a\n2 a\n", {{"1", "a"}, {"2", "a"}}},
};

TEST(IdCnLines, AreTheEntriesByAscendingIdTheFirstOfEach)
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

TEST(IdCnLines, KeepTheFirstNameInAnyOrderOfManyIds)
{
    std::string text;
    std::map<std::string, std::string> expected;
    for (unsigned int i = 0; i < 5000; ++i) {
        // Co-prime with 1000, so every id comes five times, far from itself.
        const std::string id = std::to_string(i * 377 % 1000);
        text += id + " name " + std::to_string(i) + '\n';
        expected.emplace(id, "name " + std::to_string(i));
    }
    const Lines lines = idCnLinesOf(text);
    EXPECT_EQ(lines, Lines(expected.begin(), expected.end()));
}

// The ids that the entries themselves give.
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

TEST(IdCnLines, GiveTheIdsOfAnyNameThatTheEntriesHave)
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

TEST(IdCnLines, GiveEachIdOnceAscendingAndByItsFirstName)
{
    const IdsRow idsRows[] = {
        {"in order", "1 a\n2 b\n3 a\n", {"1", "3"}},
        {"out of order at the end", "2 a\n3 a\n1 a\n", {"1", "2", "3"}},
        {"out of order at the start", "3 a\n1 a\n2 a\n", {"1", "2", "3"}},
        {"twice in a row", "1 a\n1 a\n2 a\n", {"1", "2"}},
        {"twice apart", "1 a\n2 a\n1 a\n", {"1", "2"}},
        {"a later name does not count", "1 b\n2 a\n1 a\n", {"2"}},
        {"nor does it take the id away", "1 a\n2 a\n1 b\n", {"1", "2"}},
        {"the empty id comes first", "1 a\n a\n", {"", "1"}},
        {"the empty id twice", " a\n a\n", {""}},
    };
    for (const IdsRow& row : idsRows) {
        EXPECT_EQ(idsByCN(row.text, "a"), row.expected) << row.sentence;
    }
}

} // namespace
