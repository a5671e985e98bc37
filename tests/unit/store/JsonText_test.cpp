#include "store/JsonText.h"

#include "support/SmallStack.h"

#include <cxxtools/jsondeserializer.h>

#include <gtest/gtest.h>

namespace
{

// Whether `text` is one complete document.
bool isDocument(const std::string& text)
{
    cxxtools::JsonDeserializer document;
    try {
        ostrel::readJsonText(text, document);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

std::string repeated(const std::string& text, std::size_t count)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

TEST(JsonText, BecomesATree)
{
    cxxtools::JsonDeserializer document;
    ostrel::readJsonText(R"({"a": 1, "b": ["x", "y"]})", document);
    ASSERT_NE(document.current(), nullptr);
    std::vector<std::string> list;
    document.current()->getMember("b") >>= list;
    EXPECT_EQ(list, (std::vector<std::string>{"x", "y"}));
}

struct Row {
    const char* sentence;
    std::string text;
    bool expected;
};

TEST(JsonText, IsExactlyOneDocument)
{
    using namespace std::string_literals;
    const Row rows[] = {
        {"an object", "{}", true},
        {"a list", "[]", true},
        {"blanks around it", " \t\r\n{} \t\r\n", true},
        {"many blanks after it", "{}" + std::string(100000, '\n'), true},
        {"a byte order mark before it", "\xEF\xBB\xBF{}", true},
        {"comments before and in it", "// x\n/* [ { \" */{/**/\"a\":1/***/}", true},
        {"brackets and quotes in a text", R"({"a":"[[{{\"\\"})", true},
        {"an empty text", "", false},
        {"only blanks", " \n", false},
        {"only a comment", "// {}", false},
        {"a comment that does not end", "{} /*", false},
        {"a letter after it", "{}x", false},
        {"a closing bracket after it", "{}}", false},
        {"a second document after it", "{}\n{}", false},
        {"a comma after it", "{},", false},
        {"a comment after it", "{} // x\n", false},
        {"a zero byte after it", "{}\0"s, false},
        {"a vertical tab after it", "{}\v", false},
        {"a non-breaking space after it", "{}\xC2\xA0", false},
        {"a cut-off character after it", "{}\xC3", false},
        {"a cut-off wide character after it", "{}\xF0\x9F", false},
        {"a byte after it that begins no character", "{}\x80", false},
        {"a byte after it that is never in UTF-8", "{}\xFF", false},
        {"a zero byte before it", "\0{}"s, false},
        {"a number with trailing text", "12x", false},
        {"a word", "null", false},
        {"no quotes", "{a b:1}", false},
        {"single quotes", "{'a':1}", false},
        {"no comma", R"({"a":1 "b":2})", false},
        {"an unknown escape", R"({"a":"\q"})", false},
        {"half of a pair of surrogates", R"({"a":"\ud83d"})", false},
        {"a byte in a text that is never in UTF-8", "{\"a\":\"\xFF\"}", false},
        {"a character in a text that its end cuts off", "{\"a\":\"\xC3\"}", false},
        {"a cut-off character that hides the end of a text", "[\"\xC3\" \", [1]]", false},
        {"a quote encoded in two bytes", "[\xC0\xA2]", false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(isDocument(row.text), row.expected) << row.sentence;
    }
}

TEST(JsonText, IsRefusedWithANonAsciiByteAfterIt)
{
    for (int first = 0x80; first <= 0xFF; ++first) {
        for (std::size_t length = 0; length < 9; ++length) {
            const std::string begin = "{}" + std::string(1, static_cast<char>(first));
            EXPECT_FALSE(isDocument(begin + std::string(length, '\x80'))) << first << ' ' << length;
            EXPECT_FALSE(isDocument(begin + std::string(length, ' '))) << first << ' ' << length;
        }
    }
}

TEST(JsonText, IsReadAtAnyLengthWithWideCharactersAnywhere)
{
    const std::string wide = "\xE2\x82\xAC";
    for (std::size_t length = 0; length < 300; ++length) {
        const std::string ascii(length, 'x');
        cxxtools::JsonDeserializer document;
        ostrel::readJsonText("[\"" + ascii + wide + "\"]", document);
        cxxtools::String text;
        document.current()->getMember(0U).getValue(text);
        EXPECT_EQ(text, cxxtools::String(length, cxxtools::Char('x')) + cxxtools::Char(0x20AC));
        EXPECT_FALSE(isDocument("[\"" + ascii + wide.substr(0, 2) + "\"]")) << length;
    }
}

TEST(JsonText, IsRefusedWhenCutOffAnywhere)
{
    const std::string text = R"({"a":"x\u00e9\\", "b":[1, -2.5e3, {"c":true}], /* x */ "d":null})";
    ASSERT_TRUE(isDocument(text));
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(isDocument(text.substr(0, length))) << text.substr(0, length);
    }
}

TEST(JsonText, HasAtMost64Levels)
{
    const auto nested = [](const std::string& open, const std::string& close, std::size_t levels) {
        return repeated(open, levels) + repeated(close, levels);
    };
    EXPECT_TRUE(isDocument(nested("[", "]", 64)));
    EXPECT_FALSE(isDocument(nested("[", "]", 65)));
    EXPECT_TRUE(isDocument(repeated("{\"a\":", 63) + "{}" + repeated("}", 63)));
    EXPECT_FALSE(isDocument(repeated("{\"a\":", 64) + "{}" + repeated("}", 64)));
    EXPECT_TRUE(
        isDocument("[" + nested("[", "]", 63) + repeated("," + nested("[", "]", 63), 99) + "]"))
        << "closed levels do not count";
    EXPECT_TRUE(isDocument("[\"" + std::string(1000, '[') + "\"]"))
        << "brackets in a text do not count";
}

TEST(JsonText, IsReadOnASmallStackAtAnyDepth)
{
    const Row rows[] = {
        {"lists", std::string(1 << 20, '['), false},
        {"lists that end", std::string(1 << 19, '[') + std::string(1 << 19, ']'), false},
        {"objects", repeated("{\"a\":", 200000), false},
        {"objects and lists", repeated("[{\"a\":", 100000), false},
        {"objects with plain names", repeated("{a:", 200000), false},
        {"after comments that contain a quote", repeated("/* \" */[", 100000), false},
        {"after texts that contain brackets", "[" + repeated("\"]]\",[", 100000), false},
        // The parser skips brackets that close nothing.
        {"with wrong brackets in lists", repeated("[},", 200000), false},
        {"with matching brackets but no value", repeated("{\"a\":},\"a\":", 100000), false},
        {"the same below a list", "[" + repeated("{\"a\":},\"a\":", 100000), false},
        {"a long flat list", "[0" + repeated(",0", 200000) + "]", true},
        {"a long text", "[\"" + std::string(1 << 20, 'x') + "\"]", true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sentence);
        bool result = !row.expected;
        support::onSmallStack([&] { result = isDocument(row.text); });
        EXPECT_EQ(result, row.expected);
    }
}

} // namespace
