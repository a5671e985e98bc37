#include "tools/Trace.h"

#include "support/CapturedErrors.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iostream>
#include <thread>
#include <vector>

namespace
{

using ostrel::trace;
using testing::Each;
using testing::SizeIs;

TEST(Trace, IsOffUntilTheProgramSetsTheFlag)
{
    EXPECT_FALSE(ostrel::gDebug);
    const support::CapturedErrors errors;
    trace("nobody sees this");
    EXPECT_EQ(errors.text(), "");
}

TEST(Trace, WritesItsPartsAsOneLineToTheStandardErrorDescriptor)
{
    const support::CapturedTrace errors;
    const std::string part = "b";
    trace("a ", part, " c");
    trace("alone");
    EXPECT_EQ(errors.text(), "a b c\nalone\n");
}

TEST(Trace, FollowsTheFlag)
{
    const support::CapturedTrace errors;
    trace("on");
    ostrel::gDebug = false;
    trace("off");
    ostrel::gDebug = true;
    trace("on again");
    EXPECT_EQ(errors.text(), "on\non again\n");
}

TEST(Trace, FlushesEachLine)
{
    const support::TemporaryDirectory directory;
    std::ofstream file(directory / "log");
    std::streambuf* const former = std::cerr.rdbuf(file.rdbuf());
    std::cerr << std::nounitbuf;
    ostrel::writeTraceLine("line");
    const std::string written = support::readText(directory / "log");
    std::cerr << std::unitbuf;
    std::cerr.rdbuf(former);
    EXPECT_EQ(written, "line\n");
}

/// Accepts no character.
class FullBuffer : public std::streambuf
{
};

TEST(Trace, DropsALineWhenTheStreamThrows)
{
    const support::CapturedTrace errors;
    FullBuffer full;
    std::streambuf* const former = std::cerr.rdbuf(&full);
    std::cerr.exceptions(std::ios::badbit);
    EXPECT_THROW(ostrel::writeTraceLine("line"), std::ios::failure);
    std::cerr.clear();
    EXPECT_NO_THROW(trace("line"));
    std::cerr.exceptions(std::ios::goodbit);
    std::cerr.clear();
    std::cerr.rdbuf(former);
    EXPECT_EQ(errors.text(), "");
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TEST(Trace, DoesNotMixTheLinesOfConcurrentThreads)
{
    constexpr std::size_t threadCount = 4;
    constexpr std::size_t linesEach = 500;
    const support::CapturedTrace errors;
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < threadCount; ++number) {
        threads.emplace_back([number] {
            const std::string line(60, static_cast<char>('a' + number));
            for (std::size_t count = 0; count < linesEach; ++count) {
                trace(line);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<std::string> lines = linesOf(errors.text());
    EXPECT_THAT(lines, SizeIs(threadCount * linesEach));
    for (const std::string& line : lines) {
        ASSERT_THAT(line, SizeIs(60));
        ASSERT_THAT(line, Each(line.front()));
    }
}

} // namespace
