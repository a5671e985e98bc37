#include "engine/PlainText.h"
#include "engine/Terminal.h"
#include "engine/View.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

namespace
{

using namespace ostrelctl;

const Terminal noTerminal;

TEST(PlainText, HasNoControlCharacters)
{
    EXPECT_EQ(plain("a\033[1mb\tc\n\x7f"), "a?[1mb?c??");
    EXPECT_EQ(plain("Zürich"), "Zürich");
}

struct PlainRow {
    const char* sentence;
    std::string text;
    std::string expected;
};

TEST(PlainText, HasNothingThatSteersATerminalOrHidesText)
{
    const PlainRow rows[] = {
        {"a C1 control in UTF-8",
         "a\xc2\x9b"
         "2J",
         "a?2J"},
        {"the first and the last C1 control", "\xc2\x80\xc2\x9f", "??"},
        {"the characters beside them", "\x7e\xc2\xa0", "\x7e\xc2\xa0"},
        {"a C1 control as a raw byte",
         "a\x9b"
         "2J",
         "a?2J"},
        {"other bytes that are not UTF-8", "\xff\xc0\x80\xe9", "????"},
        {"a character that is cut off", "a\xe2\x82", "a??"},
        {"a character that is cut off by another", "\xe2\x82z", "??z"},
        {"a control in too many bytes", "\xe0\x82\x9b", "???"},
        {"half of a pair of UTF-16", "\xed\xa0\x80", "???"},
        {"more than the last character", "\xf4\x90\x80\x80", "????"},
        {"marks of direction", "\u200e\u200f\u061c", "???"},
        {"embeddings and overrides", "\u202a\u202b\u202c\u202d\u202e", "?????"},
        {"isolates", "\u2066\u2067\u2068\u2069", "????"},
        {"separators of lines and paragraphs", "\u2028\u2029", "??"},
        {"characters without a width", "\u200b\u200c\u200d\u2060\ufeff", "?????"},
        {"characters of 2, 3 and 4 bytes", "é\u20ac\U0001F600", "é\u20ac\U0001F600"},
        {"dashes, which stand beside the marks", "\u2010\u2027\u202f\u2070",
         "\u2010\u2027\u202f\u2070"},
    };
    for (const PlainRow& row : rows) {
        EXPECT_EQ(plain(row.text), row.expected) << row.sentence;
    }
}

TEST(PlainText, KeepsTheLinesOfALongerText)
{
    EXPECT_EQ(plainLines("a\n\tb\r\nc\rd\033\u202e\r"), "a\n\tb\r\nc?d???");
}

TEST(PlainText, IsAsWideAsItsCharacters)
{
    EXPECT_EQ(widthOf(""), 0U);
    EXPECT_EQ(widthOf("Zürich"), 6U);
}

TEST(PlainText, IsClippedBetweenCharacters)
{
    EXPECT_EQ(clipped("Zürich", 6), "Zürich");
    EXPECT_EQ(clipped("Zürich", 5), "Züri~");
    EXPECT_EQ(clipped("Zürich", 2), "Z~");
    EXPECT_EQ(clipped("üü", 1), "~");
}

const Json answer = {{"rows",
                      {{{"name", "Zürich"}, {"left", 5}, {"is", true}},
                       {{"name", "b"}, {"left", -12}, {"is", false}},
                       {{"name", ""}, {"left", nullptr}, {"is", nullptr}}}}};
const View table = {View::Table,
                    "/rows",
                    {{"NAME", "/name"},
                     {"LEFT", "/left", Style::Days},
                     {"IS", "/is", Style::YesNo},
                     {"WHY", "/why", Style::Rare}}};

TEST(View, AlignsATableAndLeavesOutARareColumn)
{
    EXPECT_EQ(shown(answer, table, noTerminal), "NAME    LEFT  IS\n"
                                                "Zürich     5  yes\n"
                                                "b        -12  no\n"
                                                "-          -  -\n");
}

TEST(View, ShowsARareColumnForOneRowThatHasIt)
{
    Json some = answer;
    some["rows"][1]["why"] = "broken";
    EXPECT_EQ(shown(some, table, noTerminal), "NAME    LEFT  IS   WHY\n"
                                              "Zürich     5  yes  -\n"
                                              "b        -12  no   broken\n"
                                              "-          -  -    -\n");
}

TEST(View, ColoursWhatStandsOutAndNoPadding)
{
    Terminal colours;
    colours.hasColour = true;
    EXPECT_EQ(shown(answer, table, colours),
              "\033[1mNAME\033[0m    \033[1mLEFT\033[0m  \033[1mIS\033[0m\n"
              "Zürich     \033[33m5\033[0m  yes\n"
              "b        \033[31m-12\033[0m  \033[33mno\033[0m\n"
              "-          -  -\n");
}

TEST(View, FitsATableIntoTheTerminal)
{
    Terminal narrow;
    narrow.width = 24;
    const Json rows = {{"rows", {{{"name", "a name of twenty or so"}, {"left", 1}, {"is", true}}}}};
    EXPECT_EQ(shown(rows, table, narrow), "NAME           LEFT  IS\n"
                                          "a name of tw~     1  yes\n");
}

TEST(View, FillsASentence)
{
    const View sentence = {View::Sentence, "{/rows/1/name} has {/rows/1/left}, not {/nothing}"};
    EXPECT_EQ(shown(answer, sentence, noTerminal), "b has -12, not null\n");
}

TEST(View, EndsATableWithItsSentence)
{
    View summed = {View::Table, "/rows", {{"IS", "/is", Style::YesNo}}, "{/rows/0/left} left"};
    EXPECT_EQ(shown(answer, summed, noTerminal), "IS\nyes\nno\n-\n\n5 left\n");
}

TEST(View, PrintsTextAsItIsAndLinesWithoutWhatIsMissing)
{
    const Json texts = {{"rows", {{{"t", "a\nb\n"}}, {{"t", nullptr}}, {{"t", "c"}}}}};
    EXPECT_EQ(shown(texts, {View::Text, "/rows", {{"", "/t"}}}, noTerminal), "a\nb\nc\n");
    EXPECT_EQ(shown(texts, {View::Lines, "/rows", {{"", "/t"}}}, noTerminal), "a?b?\nc\n");
}

TEST(View, MasksTextOnATerminalOnly)
{
    Terminal terminal;
    terminal.isTerminal = true;
    const Json text = {{"t", "a\n\t\033[2J\xc2\x9b\u202e\n"}};
    EXPECT_EQ(shown(text, texts("", "/t"), terminal), "a\n\t?[2J??\n");
    EXPECT_EQ(shown(text, texts("", "/t"), noTerminal), "a\n\t\033[2J\xc2\x9b\u202e\n");
}

TEST(View, ShowsMembersWithAllOfTheirValues)
{
    const Json members = {{"m", {{"a", 1}, {"list", {"x", "y"}}, {"none", Json::array()}}}};
    EXPECT_EQ(shown(members, {View::Members, "/m"}, noTerminal), "a     1\nlist  x\nlist  y\n");
}

} // namespace
