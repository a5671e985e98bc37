// The documents show the same first program, and it is the example that is
// compiled and run.

#include "support/Document.h"
#include "support/TextFiles.h"

#include <gtest/gtest.h>

namespace
{

/// The text between two lines of a document.
std::string between(const std::string& name, const std::string& begin, const std::string& end)
{
    const std::string text = support::readDocument(name).text();
    const std::size_t first = text.find('\n' + begin + '\n') + begin.size() + 2;
    return text.substr(first, text.find('\n' + end + '\n', first) + 1 - first);
}

/// The manual's source writes a backslash as "\e".
std::string withBackslashes(std::string text)
{
    for (std::size_t at = 0; (at = text.find("\\e", at)) != std::string::npos; ++at) {
        text.erase(at + 1, 1);
    }
    return text;
}

const std::string& program()
{
    static const std::string text = support::readDocument("../examples/first_call.cpp").text();
    return text;
}

TEST(FirstProgram, InTheReadmeIsTheTestedExample)
{
    EXPECT_EQ(between("../README.md", "```cpp", "```"), program());
}

TEST(FirstProgram, InTheManualIsTheTestedExample)
{
    EXPECT_EQ(withBackslashes(between("man/libostrl.3", ".Bd -literal", ".Ed")), program());
}

} // namespace
