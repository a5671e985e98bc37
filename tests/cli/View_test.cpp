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

TEST(View, ShowsMembersWithAllOfTheirValues)
{
    const Json members = {{"m", {{"a", 1}, {"list", {"x", "y"}}, {"none", Json::array()}}}};
    EXPECT_EQ(shown(members, {View::Members, "/m"}, noTerminal), "a     1\nlist  x\nlist  y\n");
}

} // namespace
