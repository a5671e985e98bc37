#include <ostrelApi/OverwrittenData.h>

#include "support/SmallStack.h"
#include "unit/store/OverwrittenFileCase.h"

#include <ostrelApi/OstrelApiException.h>

#include <gtest/gtest.h>

namespace
{

using ostrelApi::OstrelApiException;
using ostrelApi::OverwrittenData;
using Map = std::map<std::string, std::string>;

// Whether setData() accepts the pair.
bool isTaken(const std::string& key, const std::string& value)
{
    OverwrittenData data("/nonexistent");
    try {
        data.setData(key, value);
    } catch (const OstrelApiException& caught) {
        EXPECT_STREQ(caught.what(), OstrelApiException(1).what());
        EXPECT_TRUE(data.getMap().empty()) << "nothing is pending";
        return false;
    }
    EXPECT_EQ(data.getData(key), value);
    return true;
}

struct Row {
    const char* sentence;
    std::string text;
    bool expected;
};

TEST(OverwrittenKeys, AreLettersDigitsHyphensAndUnderscores)
{
    using namespace std::string_literals;
    const Row rows[] = {
        {"one letter", "a", true},
        {"each kind", "max-age_2", true},
        {"the ends of each range", "azAZ09-_", true},
        {"only a hyphen", "-", true},
        {"only an underscore", "_", true},
        {"only a digit", "0", true},
        {"nothing", "", false},
        {"a space", " ", false},
        {"a space inside", "a b", false},
        {"a space at the end", "a ", false},
        {"a dot", "a.b", false},
        {"a line feed at the end", "a\n", false},
        {"a tab", "a\tb", false},
        {"a zero byte", "a\0"s, false},
        {"the character before the capitals", "@", false},
        {"the character after the capitals", "[", false},
        {"the character before the small letters", "`", false},
        {"the character after the small letters", "{", false},
        {"the character before the digits", "/", false},
        {"the character after the digits", ":", false},
        {"a comment sign", "#a", false},
        {"an equals sign", "a=b", false},
        {"a letter of two bytes", "é", false},
        {"a letter of one byte outside ASCII", "\xE9", false},
        {"a vertical bar", "a|b", false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(isTaken(row.text, "value"), row.expected) << row.sentence;
    }
}

TEST(OverwrittenKeys, OfEveryLengthAreCheckedOnASmallStack)
{
    const std::string letters(1 << 20, 'k');
    const Row rows[] = {
        {"a mebibyte of letters", letters, true},
        {"a bad character after it", letters + '.', false},
        {"a bad character before it", ' ' + letters, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sentence);
        bool result = !row.expected;
        support::onSmallStack([&] { result = isTaken(row.text, "value"); });
        EXPECT_EQ(result, row.expected);
    }
}

TEST(OverwrittenValues, AreRefusedWhenTheyAreASingleControlCharacter)
{
    using namespace std::string_literals;
    const Row rows[] = {
        {"a text", "value", true},
        {"an empty value, which removes the key", "", true},
        {"a space", " ", true},
        {"one line feed", "\n", false},
        {"one carriage return", "\r", false},
        {"one tab", "\t", false},
        {"two line feeds", "\n\n", true},
        {"a carriage return and a line feed", "\r\n", true},
        {"a line feed between letters", "a\nb", true},
        {"a line feed at the end", "a\n", true},
        {"another control character", "\v", true},
        {"a zero byte", "\0"s, true},
        {"UTF-8", "é", true},
        {"a mebibyte", std::string(1 << 20, '\n'), true},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(isTaken("key", row.text), row.expected) << row.sentence;
    }
}

class Overrides : public OverwrittenFileTest
{
};

TEST_F(Overrides, DoNotTouchTheFileWhenConstructedOrChanged)
{
    OverwrittenData data(m_path);
    data.setData("a", "1");
    data.discard("a");
    data.setData("b", "2");
    data.discardAll();
    EXPECT_FALSE(isThere());
}

TEST_F(Overrides, OfAMissingFileAreEmpty)
{
    OverwrittenData data(m_path);
    EXPECT_TRUE(data.isUpToDate());
    EXPECT_EQ(data.getData("a"), "");
    EXPECT_EQ(data["a"], "");
    EXPECT_EQ(data.getMap(), Map());
    EXPECT_FALSE(isThere());
}

TEST_F(Overrides, AreReadLineByLine)
{
    put("b 2\na 1\n\nnoSpace\na again\nc  x y \n#d 4 # x\n e\nlast 5");
    EXPECT_EQ(
        OverwrittenData(m_path).getMap(),
        (Map{{"", "e"}, {"#d", "4 # x"}, {"a", "1"}, {"b", "2"}, {"c", "x y "}, {"last", "5"}}));
}

TEST_F(Overrides, ShowPendingChangesOverTheFile)
{
    put("a 1\nb 2\n");
    OverwrittenData data(m_path);
    data.setData("a", "new");
    data.setData("b", "");
    data.setData("c", "3");
    data.setData("d", "");
    EXPECT_EQ(data.getData("a"), "new");
    EXPECT_EQ(data["b"], "") << "its removal is pending";
    EXPECT_EQ(data.getData("c"), "3");
    EXPECT_EQ(data.getMap(), (Map{{"a", "new"}, {"c", "3"}}));
    EXPECT_EQ(data.getMap(), (Map{{"a", "new"}, {"c", "3"}})) << "the changes stay pending";
    EXPECT_EQ(text(), "a 1\nb 2\n") << "the file changes only in write()";
}

TEST_F(Overrides, ShowTheFileAgainWhenAChangeIsDiscarded)
{
    put("a 1\nb 2\n");
    OverwrittenData data(m_path);
    data.setData("a", "new");
    data.setData("b", "");
    data.discard("a");
    data.discard("unknown");
    EXPECT_EQ(data.getMap(), (Map{{"a", "1"}}));
    data.discardAll();
    EXPECT_EQ(data.getMap(), (Map{{"a", "1"}, {"b", "2"}}));
    data.write();
    EXPECT_EQ(text(), "a 1\nb 2\n");
}

TEST_F(Overrides, KeepTheLastOfTwoChanges)
{
    OverwrittenData data(m_path);
    data.setData("a", "1");
    data.setData("a", "2");
    EXPECT_EQ(data.getData("a"), "2");
    EXPECT_THROW(data.setData("a", "\n"), OstrelApiException);
    EXPECT_EQ(data.getData("a"), "2") << "a refused change has no effect";
}

TEST_F(Overrides, AreLostWithTheObject)
{
    OverwrittenData(m_path).setData("a", "1");
    EXPECT_FALSE(isThere());
    EXPECT_EQ(OverwrittenData(m_path).getData("a"), "");
}

TEST_F(Overrides, OfACopyAreIndependent)
{
    OverwrittenData data(m_path);
    data.setData("a", "1");
    OverwrittenData copy = data;
    copy.setData("a", "2");
    EXPECT_EQ(data.getData("a"), "1");
    copy.write();
    EXPECT_EQ(text(), "a 2\n");
}

} // namespace
