#include <ostrl/splitstr.h>

#include <gtest/gtest.h>

#include <sstream>

namespace
{

using Pieces = std::vector<std::string>;

struct Row {
    const char* sentence;
    std::string text;
    char delimiter;
    Pieces expected;
};

TEST(Splitstr, CutsAtEveryDelimiter)
{
    const Row rows[] = {
        {"an empty text gives no piece", "", ',', {}},
        {"a text without delimiter is one piece", "a", ',', {"a"}},
        {"a delimiter separates two pieces", "a,b", ',', {"a", "b"}},
        {"two adjacent delimiters have an empty piece between them", "a||b", '|', {"a", "", "b"}},
        {"a leading delimiter gives an empty piece", ",a", ',', {"", "a"}},
        {"a trailing delimiter gives no piece", "a|b|", '|', {"a", "b"}},
        {"two trailing delimiters give one empty piece", "a,,", ',', {"a", ""}},
        {"a single delimiter gives one empty piece", ",", ',', {""}},
        {"other separators are text", "a,b|c", '|', {"a,b", "c"}},
        {"blanks stay", " a , b ", ',', {" a ", " b "}},
        {"the line feed can be a delimiter", "a\nb\n", '\n', {"a", "b"}},
        {"the tab can be a delimiter", "a\t\tb", '\t', {"a", "", "b"}},
        {"the NUL can be a delimiter", std::string("a\0b", 3), '\0', {"a", "b"}},
        {"a NUL that is not the delimiter is text",
         std::string("a\0,b", 4),
         ',',
         {std::string("a\0", 2), "b"}},
        {"a character above 127 can be a delimiter",
         "a\xE9"
         "b",
         '\xE9',
         {"a", "b"}},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(splitstr(row.text, row.delimiter), row.expected) << row.sentence;
    }
}

Pieces splitByGetline(const std::string& text)
{
    Pieces pieces;
    std::istringstream in(text);
    for (std::string piece; std::getline(in, piece, ',');) {
        pieces.push_back(piece);
    }
    return pieces;
}

TEST(Splitstr, MatchesGetlineOnEveryShortText)
{
    constexpr unsigned int longest = 10;
    for (unsigned int length = 0; length <= longest; ++length) {
        for (unsigned int bits = 0; bits < (1U << length); ++bits) {
            std::string text;
            for (unsigned int i = 0; i < length; ++i) {
                text += (bits >> i & 1U) != 0 ? ',' : 'a';
            }
            ASSERT_EQ(splitstr(text, ','), splitByGetline(text)) << text;
        }
    }
}

} // namespace
