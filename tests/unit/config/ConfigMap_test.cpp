#include "tools/KeyValueText.h"

#include <ostrel/Tools.h>

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <thread>

namespace
{

using ostrel::KeyValueMap;
using ostrel::Tools;
using testing::IsEmpty;

struct MapRow {
    const char* sentence;
    std::string text;
    KeyValueMap config;
    KeyValueMap raw;
};

const MapRow rows[] = {
    {"an empty text", "", {}, {}},
    {"empty lines", "\n\n\n", {}, {}},
    {"a line", "a b\n", {{"a", "b"}}, {{"a", "b"}}},
    {"the last line without a line feed",
     "a b\nc d",
     {{"a", "b"}, {"c", "d"}},
     {{"a", "b"}, {"c", "d"}}},
    {"several words", "a b  c d\n", {{"a", "b  c d"}}, {{"a", "b  c d"}}},
    {"two lines for one key", "a b\na c\n", {{"a", "b"}}, {{"a", "b"}}},
    {"keys that differ in case", "a b\nA c\n", {{"A", "c"}, {"a", "b"}}, {{"A", "c"}, {"a", "b"}}},
    {"only a key", "a\nc d\n", {{"c", "d"}}, {{"c", "d"}}},
    {"a key and blanks", "a  \n", {}, {{"a", ""}}},
    {"a tab instead of the space", "a\tb\n", {}, {}},
    {"a tab before the space", "a\t b\n", {{"a\t", "b"}}, {{"a\t", "b"}}},
    {"an equals sign instead of the space", "a=b\n", {}, {}},
    {"an equals sign as a word", "a = b\n", {{"a", "= b"}}, {{"a", "= b"}}},
    {"a blank at the end", "a b \n", {{"a", "b"}}, {{"a", "b "}}},
    {"an indented line", "  a b\n", {{"a", "b"}}, {{"", "a b"}}},
    {"a tab before the key", "\ta b\n", {{"a", "b"}}, {{"\ta", "b"}}},
    {"a comment", "# a b\n", {}, {{"#", "a b"}}},
    {"a comment after a value", "a b # c\n", {{"a", "b"}}, {{"a", "b # c"}}},
    {"a comment instead of the value", "a # c\n", {}, {{"a", "# c"}}},
    // Intended: with a comment, the line keeps its indentation, so its first space ends an empty
    // key.
    {"an indented line with a comment", "  a b # c\n", {{"", "a b"}}, {{"", "a b # c"}}},
    {"an indented comment", "   # c\n", {{"", ""}}, {{"", "# c"}}},
    {"two indented comments", "   # c\n  a b # d\n", {{"", ""}}, {{"", "# c"}}},
    {"a comment after a tab", "\t# c\n", {}, {{"\t#", "c"}}},
    {"carriage returns",
     "a b\r\nc d\r\n",
     {{"a", "b\r"}, {"c", "d\r"}},
     {{"a", "b\r"}, {"c", "d\r"}}},
    {"a line of one carriage return", "\r\n", {}, {}},
    {"only blanks", "   \n", {}, {{"", ""}}},
    {"a NUL in a value",
     std::string("a b\0c\n", 6),
     {{"a", std::string("b\0c", 3)}},
     {{"a", std::string("b\0c", 3)}}},
};

TEST(ConfigMap, ContainsThePairsOfTheCleanedLines)
{
    for (const MapRow& row : rows) {
        std::istringstream in(row.text);
        std::stringstream inMemory(row.text);
        EXPECT_EQ(Tools::getConfigMap(in), row.config) << row.sentence;
        EXPECT_EQ(Tools::getMapFromStringStream(inMemory), row.config)
            << row.sentence << ", as a stream";
        EXPECT_EQ(ostrel::configMapOf(row.text), row.config) << row.sentence << ", as a text";
    }
}

TEST(RawMap, ContainsThePairsOfTheUnchangedLines)
{
    for (const MapRow& row : rows) {
        std::istringstream in(row.text);
        EXPECT_EQ(Tools::getMapKeyValue(in), row.raw) << row.sentence;
        EXPECT_EQ(ostrel::rawMapOf(row.text), row.raw) << row.sentence << ", as a text";
    }
}

// The rules one by one, as a loop over the lines of a stream applies them.
std::string trimmedAtBeginning(const std::string& text)
{
    std::size_t index = 0;
    while (index < text.size() && std::string(" \t\n").find(text[index]) != std::string::npos) {
        ++index;
    }
    return text.substr(index);
}

std::string trimmedAtEnding(std::string text)
{
    while (text.size() > 1 && std::string(" \t\n").find(text.back()) != std::string::npos) {
        text.pop_back();
    }
    return text;
}

std::string cleaned(const std::string& line)
{
    const std::size_t comment = line.find('#');
    return trimmedAtEnding(comment == std::string::npos ? trimmedAtBeginning(line)
                                                        : line.substr(0, comment));
}

KeyValueMap readByLoop(const std::string& text, bool clean)
{
    KeyValueMap map;
    std::istringstream in(text);
    std::string line;
    while (!in.eof()) {
        std::getline(in, line);
        line = clean ? cleaned(line) : line;
        const std::size_t space = line.find(' ');
        if (space != std::string::npos) {
            map.insert({line.substr(0, space), trimmedAtBeginning(line.substr(space + 1))});
        }
    }
    return map;
}

TEST(ConfigMap, MatchesALoopOverLinesForEveryShortText)
{
    std::vector<std::string> texts = {""};
    for (std::size_t next = 0; next < texts.size(); ++next) {
        const std::string text = texts[next];
        ASSERT_EQ(ostrel::configMapOf(text), readByLoop(text, true)) << text;
        ASSERT_EQ(ostrel::rawMapOf(text), readByLoop(text, false)) << text;
        for (const char character : {'a', ' ', '\t', '#', '\n'}) {
            if (text.size() < 6) {
                texts.push_back(text + character);
            }
        }
    }
    EXPECT_EQ(texts.size(), 19531U);
}

TEST(ConfigMap, IsReadFromTheCurrentPositionToTheEnd)
{
    std::stringstream in("a b\nc d\n");
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(Tools::getMapFromStringStream(in), (KeyValueMap{{"c", "d"}}));
    EXPECT_TRUE(in.eof());
    EXPECT_THAT(Tools::getConfigMap(in), IsEmpty());
}

// Reading normally ends at the end-of-file flag, which these streams never set.
TEST(ConfigMap, EndsWhenTheStreamFails)
{
    std::ifstream missing("/etc/ostrel/missing/file");
    std::ifstream directory("/etc");
    EXPECT_THAT(Tools::getConfigMap(missing), IsEmpty());
    EXPECT_THAT(Tools::getMapKeyValue(missing), IsEmpty());
    EXPECT_THAT(Tools::getConfigMap(directory), IsEmpty());
    EXPECT_THAT(Tools::getMapKeyValue(directory), IsEmpty());
}

TEST(ConfigMap, CanBeReadByThreadsFromSeparateStreams)
{
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            for (int round = 0; round < 200; ++round) {
                std::istringstream in("number " + std::to_string(number) + " # c\n");
                EXPECT_EQ(Tools::getConfigMap(in),
                          (KeyValueMap{{"number", std::to_string(number)}}));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
