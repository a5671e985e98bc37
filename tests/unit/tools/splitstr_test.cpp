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
        {"an empty text has no piece", "", ',', {}},
        {"a text without delimiter is one piece", "a", ',', {"a"}},
        {"a delimiter parts two pieces", "a,b", ',', {"a", "b"}},
        {"two adjacent delimiters have an empty piece between them", "a||b", '|', {"a", "", "b"}},
        {"a leading delimiter gives an empty piece", ",a", ',', {"", "a"}},
        {"a trailing delimiter gives none", "a|b|", '|', {"a", "b"}},
        {"of two trailing delimiters only the last gives none", "a,,", ',', {"a", ""}},
        {"a lone delimiter gives one empty piece", ",", ',', {""}},
        {"other separators are text", "a,b|c", '|', {"a,b", "c"}},
        {"blanks stay", " a , b ", ',', {" a ", " b "}},
        {"the line feed is a delimiter as any other", "a\nb\n", '\n', {"a", "b"}},
        {"so is the tab", "a\t\tb", '\t', {"a", "", "b"}},
        {"so is the NUL", std::string("a\0b", 3), '\0', {"a", "b"}},
        {"a NUL that is no delimiter is text",
         std::string("a\0,b", 4),
         ',',
         {std::string("a\0", 2), "b"}},
        {"a character above 127 is a delimiter too",
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

TEST(Splitstr, AgreesWithGetlineOnEveryShortText)
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
