#include "store/SortedLines.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

namespace
{

using ostreld::SortedLines;

SortedLines linesOf(std::initializer_list<const char*> words)
{
    SortedLines lines;
    for (const char* word : words) {
        lines.put(word, "\n");
    }
    return lines;
}

TEST(SortedLines, AreEmptyAtFirst)
{
    EXPECT_EQ(SortedLines().text(), "");
}

TEST(SortedLines, SortLinesByTheirFirstWords)
{
    EXPECT_EQ(linesOf({"b", "d", "a", "c"}).text(), "a\nb\nc\nd\n");
}

TEST(SortedLines, KeepTheRestOfALine)
{
    SortedLines lines;
    lines.put("b", " the second\n");
    lines.put("a", " the first\n");
    EXPECT_EQ(lines.text(), "a the first\nb the second\n");
}

TEST(SortedLines, RemoveTheLineOfAWord)
{
    struct Row {
        const char* word;
        const char* left;
    };
    constexpr Row rows[] = {
        {"a", "ab\nb\n\xc3\xa4\n"},       {"ab", "a\nb\n\xc3\xa4\n"},
        {"b", "a\nab\n\xc3\xa4\n"},       {"\xc3\xa4", "a\nab\nb\n"},
        {"", "a\nab\nb\n\xc3\xa4\n"},     {"0", "a\nab\nb\n\xc3\xa4\n"},
        {"abc", "a\nab\nb\n\xc3\xa4\n"},  {"c", "a\nab\nb\n\xc3\xa4\n"},
        {"\xc3", "a\nab\nb\n\xc3\xa4\n"}, {"\xff", "a\nab\nb\n\xc3\xa4\n"},
    };
    for (const Row& row : rows) {
        SortedLines lines = linesOf({"b", "\xc3\xa4", "a", "ab"});
        lines.remove(row.word, '\n');
        EXPECT_EQ(lines.text(), row.left) << row.word;
    }
}

TEST(SortedLines, RemoveNothingFromAnEmptyText)
{
    SortedLines lines;
    lines.remove("a", '\n');
    EXPECT_EQ(lines.text(), "");
}

std::string textOf(const std::map<std::string, std::string>& model)
{
    std::string text;
    for (const auto& [word, rest] : model) {
        text += word + rest;
    }
    return text;
}

TEST(SortedLines, EqualASortedMapAfterAnyChanges)
{
    std::mt19937 random(1);
    std::map<std::string, std::string> model;
    SortedLines lines;
    for (int i = 0; i < 3000; ++i) {
        const std::string word = std::to_string(random() % 500);
        if (model.erase(word) != 0) {
            lines.remove(word, ' ');
        } else {
            model[word] = " name " + std::to_string(i) + '\n';
            lines.put(word, model[word]);
        }
        ASSERT_EQ(lines.text(), textOf(model)) << i;
    }
}

} // namespace
