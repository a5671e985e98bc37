#include "base/Log.h"

#include "support/AllocationFault.h"
#include "support/CapturedErrors.h"
#include "support/Textless.h"

#include <gmock/gmock.h>

#include <cerrno>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using ostreld::logEvent;

std::string logged(const std::string& text)
{
    const support::CapturedErrors errors;
    logEvent("{}", text);
    return errors.text();
}

TEST(Log, ShowsTextAsItIs)
{
    EXPECT_EQ(logged("K\xc3\xb6ln \xe2\x82\xac \xf0\x9f\x94\x91"),
              "ostreld: K\xc3\xb6ln \xe2\x82\xac \xf0\x9f\x94\x91\n");
}

TEST(Log, MasksWhatActsOnATerminalOrIsInvisible)
{
    const struct {
        const char* sentence;
        std::string text;
        const char* shown;
    } rows[] = {
        {"a line feed", "a\nostreld: b", "a?ostreld: b"},
        {"an escape sequence", "a\x1b[2Jb", "a?[2Jb"},
        {"a NUL", std::string("a\0b", 3), "a?b"},
        {"a deletion",
         "a\x7f"
         "b",
         "a?b"},
        {"the first C1 control",
         "a\xc2\x80"
         "b",
         "a?b"},
        {"the last C1 control",
         "a\xc2\x9f"
         "b",
         "a?b"},
        {"a letter behind the C1 controls", "\xc2\xa0", "\xc2\xa0"},
        {"an Arabic letter mark", "a\xd8\x9c", "a?"},
        {"a character without a width", "a\xe2\x80\x8b", "a?"},
        {"a joiner", "a\xe2\x80\x8d", "a?"},
        {"a left-to-right mark", "a\xe2\x80\x8e", "a?"},
        {"a right-to-left mark", "a\xe2\x80\x8f", "a?"},
        {"a hyphen", "a\xe2\x80\x90", "a\xe2\x80\x90"},
        {"a line separator", "a\xe2\x80\xa8", "a?"},
        {"a paragraph separator", "a\xe2\x80\xa9", "a?"},
        {"a directional embedding", "a\xe2\x80\xaa", "a?"},
        {"a directional override", "a\xe2\x80\xae", "a?"},
        {"a directional isolate", "a\xe2\x81\xa6", "a?"},
        {"the end of an isolate", "a\xe2\x81\xa9", "a?"},
        {"a byte order mark",
         "\xef\xbb\xbf"
         "a",
         "?a"},
        {"a raw C1 control",
         "a\x9b"
         "2J",
         "a?2J"},
        {"a byte of no character", "a\xff", "a?"},
        {"a character that is cut off", "a\xf0\x9f\x94", "a?"},
        {"a character that another one cuts off",
         "\xe2\x82"
         "a",
         "?a"},
        {"an overlong form", "\xc0\xaf", "??"},
        {"a surrogate", "\xed\xa0\x80", "???"},
        {"beyond the last character", "\xf4\x90\x80\x80", "????"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(logged(row.text), "ostreld: " + std::string(row.shown) + '\n') << row.sentence;
    }
}

TEST(Log, CutsALineAtTheLengthThatAPipeTakesAsOneUnit)
{
    const std::string longLine = logged(std::string(5000, 'x'));
    EXPECT_EQ(longLine.size(), 4096U);
    EXPECT_EQ(longLine.back(), '\n');
    EXPECT_THAT(logged(std::string(4085, 'x') + "\xe2\x82\xac"), testing::EndsWith("x?\n"));
}

TEST(Log, LinesOfSeveralProcessesDoNotMix)
{
    const support::CapturedErrors errors;
    const std::string line(3000, 'x');
    pid_t children[4];
    for (pid_t& child : children) {
        child = ::fork();
        if (child == 0) {
            for (int i = 0; i < 50; ++i) {
                logEvent("{}", line);
            }
            ::_exit(0);
        }
    }
    for (const pid_t child : children) {
        ::waitpid(child, nullptr, 0);
    }
    std::string expected;
    for (int i = 0; i < 200; ++i) {
        expected += "ostreld: " + line + '\n';
    }
    EXPECT_TRUE(errors.text() == expected);
}

TEST(Log, LosesOnlyTheLineThatCannotBeWritten)
{
    const ostrel::Descriptor former(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3));
    ::close(STDERR_FILENO);
    errno = ENOSPC;
    logEvent("a line");
    const int error = errno;
    ::dup2(former.get(), STDERR_FILENO);
    EXPECT_EQ(error, ENOSPC);
    EXPECT_EQ(logged("another line"), "ostreld: another line\n");
}

TEST(Log, WritesTheLineWithoutMemory)
{
    const support::CapturedErrors errors;
    const std::string text(1000, 'x');
    EXPECT_TRUE(
        support::thrownWithoutMemory([&] { logEvent("{}", text); }, support::failAsOutOfMemory)
            .empty());
    EXPECT_EQ(errors.text(), "ostreld: " + text + '\n');
}

TEST(Log, WritesThePlainTextOfALineThatCannotBeFormatted)
{
    const support::CapturedErrors errors;
    const support::Textless<> textless;
    logEvent("web: failed: {}", textless.what());
    EXPECT_EQ(errors.text(), "ostreld: web: failed: {}\n");
}

} // namespace
