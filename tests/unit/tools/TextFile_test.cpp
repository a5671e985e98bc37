#include "tools/TextFile.h"

#include "support/TextFiles.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <sstream>
#include <streambuf>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using ostrel::readTextFile;
using ostrel::TextFile;
using ostrel::TextLines;
using testing::ElementsAre;

TEST(ReadTextFile, ReadsAFileOfAnySizeToItsEnd)
{
    const support::TemporaryDirectory directory;
    for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 100000U}) {
        std::string text(size, 'x');
        text.append(size, '\0');
        support::writeText(directory / "file", text);
        const TextFile file = readTextFile(directory / "file");
        EXPECT_TRUE(file.isOpen) << size;
        EXPECT_TRUE(file.isComplete) << size;
        EXPECT_TRUE(file.text == text) << size;
    }
}

TEST(ReadTextFile, ReadsAFileWhoseReportedSizeIsZero)
{
    ASSERT_EQ(std::filesystem::file_size("/proc/self/smaps"), 0U);
    const TextFile file = readTextFile("/proc/self/smaps");
    EXPECT_TRUE(file.isComplete);
    EXPECT_GT(file.text.size(), 4096U);
}

TEST(ReadTextFile, ReadsAFifoUntilItsWriterIsGone)
{
    const support::TemporaryDirectory directory;
    const std::string text(200000, 'x');
    ASSERT_EQ(::mkfifo((directory / "fifo").c_str(), 0600), 0);
    std::thread writer([&] { support::writeText(directory / "fifo", text); });
    const TextFile file = readTextFile(directory / "fifo");
    writer.join();
    EXPECT_TRUE(file.isComplete);
    EXPECT_TRUE(file.text == text) << file.text.size();
}

TEST(ReadTextFile, ReportsAFileThatCannotBeOpened)
{
    const support::TemporaryDirectory directory;
    support::writeText(directory / "file", "text");
    std::filesystem::create_symlink(directory / "loop", directory / "loop");
    std::filesystem::create_symlink(directory / "missing", directory / "dangling");
    for (const char* name :
         {"missing", "missing/file", "file/below", "loop", "dangling", "file/"}) {
        const TextFile file = readTextFile(directory / name);
        EXPECT_FALSE(file.isOpen) << name;
        EXPECT_FALSE(file.isComplete) << name;
        EXPECT_EQ(file.text, "") << name;
    }
}

TEST(ReadTextFile, ReportsATextThatEndsInAReadErrorAsIncomplete)
{
    const support::TemporaryDirectory directory;
    // Both files open, but a directory cannot be read, nor can the unmapped first page of memory.
    for (const std::string& path : {directory.path(), std::string("/proc/self/mem")}) {
        const TextFile file = readTextFile(path);
        EXPECT_TRUE(file.isOpen) << path;
        EXPECT_FALSE(file.isComplete) << path;
        EXPECT_EQ(file.text, "") << path;
    }
}

TEST(ReadTextFile, LeavesNoDescriptorOpen)
{
    const support::TemporaryDirectory directory;
    const std::size_t before = support::openDescriptorCount();
    static_cast<void>(readTextFile(directory.path()));
    static_cast<void>(readTextFile("/etc/passwd"));
    EXPECT_EQ(support::openDescriptorCount(), before);
}

/// Supplies its text and then throws, as a failing disk does.
class FailingBuffer : public std::streambuf
{
public:
    explicit FailingBuffer(std::string text) : m_text(std::move(text))
    {
        setg(m_text.data(), m_text.data(), m_text.data() + m_text.size());
    }

protected:
    int_type underflow() override { throw std::runtime_error("the disk fails"); }

private:
    std::string m_text;
};

struct RestRow {
    const char* sentence;
    std::string text;
};

TEST(ReadRest, ReadsAStreamToItsEnd)
{
    const RestRow rows[] = {
        {"nothing", ""},
        {"a line feed", "\n"},
        {"a line", "a\n"},
        {"a line without a line feed", "a\nb"},
        {"empty lines at the end", "a\n\n\n"},
        {"a NUL", std::string("a\0b\n", 4)},
        {"a long text", std::string(10000, 'x')},
    };
    for (const RestRow& row : rows) {
        std::istringstream stream(row.text);
        EXPECT_EQ(ostrel::readRest(stream), row.text) << row.sentence;
        EXPECT_TRUE(stream.eof()) << row.sentence;
        EXPECT_EQ(ostrel::readRest(stream), "") << row.sentence << ", second call";
    }
}

TEST(ReadRest, StartsAtTheCurrentPosition)
{
    std::istringstream stream("a\nb\nc");
    std::string line;
    std::getline(stream, line);
    EXPECT_EQ(ostrel::readRest(stream), "b\nc");
}

TEST(ReadRest, TreatsAReadErrorAsTheEndAndKeepsTheTextBefore)
{
    for (const char* text : {"", "a\n", "a\nb"}) {
        FailingBuffer buffer(text);
        std::istream stream(&buffer);
        EXPECT_EQ(ostrel::readRest(stream), text);
        EXPECT_TRUE(stream.bad());
    }
}

TEST(ReadRest, ReturnsNothingFromAFailedStream)
{
    std::istringstream stream("text");
    stream.setstate(std::ios::failbit);
    EXPECT_EQ(ostrel::readRest(stream), "");
}

std::vector<std::string> walked(std::string_view text)
{
    std::vector<std::string> lines;
    for (TextLines walk(text); !walk.isAtEnd();) {
        lines.emplace_back(walk.next());
    }
    return lines;
}

std::vector<std::string> gotByStream(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    while (!stream.eof()) {
        std::getline(stream, lines.emplace_back());
    }
    return lines;
}

TEST(TextLines, EndInAnEmptyLineAfterATrailingLineFeed)
{
    EXPECT_THAT(walked(""), ElementsAre(""));
    EXPECT_THAT(walked("a"), ElementsAre("a"));
    EXPECT_THAT(walked("a\n"), ElementsAre("a", ""));
    EXPECT_THAT(walked("\n\n"), ElementsAre("", "", ""));
    EXPECT_THAT(walked("a\r\nb"), ElementsAre("a\r", "b"));
}

TEST(TextLines, MatchALoopOverAStreamForEveryShortText)
{
    std::vector<std::string> texts = {""};
    for (std::size_t next = 0; next < texts.size(); ++next) {
        EXPECT_EQ(walked(texts[next]), gotByStream(texts[next])) << texts[next];
        if (texts[next].size() < 8) {
            texts.push_back(texts[next] + 'a');
            texts.push_back(texts[next] + '\n');
        }
    }
    EXPECT_EQ(texts.size(), 511U);
}

TEST(TextLines, HaveNoFurtherLineAfterATrailingLineFeed)
{
    TextLines lines("a\nb\n");
    EXPECT_TRUE(lines.hasFurtherLine());
    EXPECT_EQ(lines.next(), "a");
    EXPECT_TRUE(lines.hasFurtherLine());
    EXPECT_EQ(lines.next(), "b");
    EXPECT_FALSE(lines.hasFurtherLine());
    EXPECT_FALSE(lines.isAtEnd());
    EXPECT_FALSE(TextLines("").hasFurtherLine());
}

} // namespace
