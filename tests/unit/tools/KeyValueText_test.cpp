#include "tools/KeyValueText.h"

#include <ostrel/Tools.h>

#include <gmock/gmock.h>

namespace
{

using ostrel::Tools;
using testing::Pair;

struct TextRow {
    const char* sentence;
    std::string text;
    std::string expected;
};

TEST(RemoveSpaceAtBeginning, RemovesSpacesTabsAndLineFeeds)
{
    const TextRow rows[] = {
        {"an empty text", "", ""},
        {"nothing to remove", "a b ", "a b "},
        {"a space", " a", "a"},
        {"every blank", " \t\n \n\ta", "a"},
        {"only blanks", " \t\n", ""},
        {"a carriage return is not a blank", " \r a", "\r a"},
        {"a vertical tab is not a blank", "\v a", "\v a"},
        {"a form feed is not a blank", "\f a", "\f a"},
        {"a non-breaking space is not a blank", "\xC2\xA0 a", "\xC2\xA0 a"},
        {"a NUL is not a blank", std::string("\0 a", 3), std::string("\0 a", 3)},
    };
    for (const TextRow& row : rows) {
        EXPECT_EQ(Tools::removeSpaceAtBeginning(row.text), row.expected) << row.sentence;
    }
}

// Intended: the first character is never removed.
TEST(RemoveSpaceFromEnding, RemovesBlanksButNeverTheFirstCharacter)
{
    const TextRow rows[] = {
        {"an empty text", "", ""},
        {"nothing to remove", " a b", " a b"},
        {"every blank", "a \t\n \n\t", "a"},
        {"blanks inside stay", "a \t b ", "a \t b"},
        {"one space", " ", " "},
        {"one letter", "a", "a"},
        {"three spaces", "   ", " "},
        {"two tabs", "\t\t", "\t"},
        {"mixed blanks", "\n \t", "\n"},
        {"a blank first", " a ", " a"},
        {"a carriage return is not a blank", "a \r", "a \r"},
        {"a vertical tab is not a blank", "a \v", "a \v"},
        {"a form feed is not a blank", "a \f", "a \f"},
        {"a non-breaking space is not a blank", "a\xC2\xA0", "a\xC2\xA0"},
    };
    for (const TextRow& row : rows) {
        EXPECT_EQ(Tools::removeSpaceFromEnding(row.text), row.expected) << row.sentence;
    }
}

// Intended: a line with a comment keeps its leading blanks.
TEST(CleanConfigLine, DropsTheCommentAndSurroundingBlanks)
{
    const TextRow rows[] = {
        {"an empty line", "", ""},
        {"nothing to drop", "lockFile /a", "lockFile /a"},
        {"blanks on both sides", "  lockFile /a  ", "lockFile /a"},
        {"tabs on both sides", "\t\tlockFile\t/a\t", "lockFile\t/a"},
        {"a comment after an indented line", "  lockFile /a  # why", "  lockFile /a"},
        {"a comment after a line", "lockFile /a # why", "lockFile /a"},
        {"only a comment", "# why", ""},
        {"a comment after three blanks", "   # why", " "},
        {"a comment after a tab", "\t# why", "\t"},
        {"a comment without a blank before it", "lockFile /a#b#c", "lockFile /a"},
        {"a backslash does not escape", "lockFile \\#a", "lockFile \\"},
        {"quotes do not protect", "lockFile \"a#b\"", "lockFile \"a"},
        {"only blanks", "   ", ""},
        {"a carriage return at the end", "lockFile /a\r", "lockFile /a\r"},
        {"blanks before a carriage return", "lockFile /a  \r", "lockFile /a  \r"},
        {"a carriage return in the comment", "lockFile /a # b\r", "lockFile /a"},
    };
    for (const TextRow& row : rows) {
        EXPECT_EQ(Tools::cleanConfigLine(row.text), row.expected) << row.sentence;
    }
}

struct PairRow {
    const char* sentence;
    std::string line;
    std::string key;
    std::string value;
};

TEST(GetKeyAndValue, SplitsAtTheFirstSpace)
{
    const PairRow rows[] = {
        {"one space", "daemonUser root", "daemonUser", "root"},
        {"two spaces", "daemonUser  root", "daemonUser", "root"},
        {"all blanks after the space", "daemonUser \t\n root", "daemonUser", "root"},
        {"several words", "name Web  server ", "name", "Web  server "},
        {"a tab before the space", "key\t value", "key\t", "value"},
        {"a tab within the key", "a\tb value", "a\tb", "value"},
        {"a leading space", " key  value", "", "key  value"},
        {"only spaces", "  ", "", ""},
        {"only one space", " ", "", ""},
        {"a key and a space", "key ", "key", ""},
        {"an equals sign", "key = value", "key", "= value"},
        {"no space", "key", "key", "key"},
        {"a leading tab and no space", "\tkey", "\tkey", "key"},
        {"a tab instead of the space", "key\tvalue", "key\tvalue", "key\tvalue"},
        {"an empty line", "", "", ""},
        {"a carriage return", "key value\r", "key", "value\r"},
    };
    for (const PairRow& row : rows) {
        EXPECT_THAT(Tools::getKeyAndValue(row.line), Pair(row.key, row.value)) << row.sentence;
    }
}

TEST(ValueOf, IsEmptyForAMissingKey)
{
    const ostrel::KeyValueMap map = {{"a", "b"}};
    EXPECT_EQ(ostrel::valueOf(map, "a"), "b");
    EXPECT_EQ(ostrel::valueOf(map, "A"), "");
    EXPECT_EQ(ostrel::valueOf(map, ""), "");
}

} // namespace
