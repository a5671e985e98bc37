#include "unit/store/OverwrittenFileCase.h"

#include "support/DeniedSystemCalls.h"
#include "support/FileSizeLimit.h"
#include "support/Thrown.h"

#include <ostrelApi/CallError.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <thread>

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using Map = std::map<std::string, std::string>;
using support::apiError;

class OverwriteRewrite : public OverwrittenFileTest
{
protected:
    static ino_t inodeOf(const std::string& path)
    {
        struct stat status {
        };
        EXPECT_EQ(::stat(path.c_str(), &status), 0);
        return status.st_ino;
    }

    std::string writeOf(const std::string& key, const std::string& value) const
    {
        OpenData data(m_path);
        data.setData(key, value);
        const std::string thrown = support::thrownBy([&] { data.write(); });
        EXPECT_EQ(data.pendingData().count(key), thrown == "nothing" ? 0U : 1U);
        return thrown;
    }

    /// What write() throws in a thread in which these system calls fail.
    std::string writeWithout(const std::vector<long>& calls, int error, const std::string& value)
    {
        std::string thrown;
        std::thread([&] {
            m_canDeny = support::denySystemCalls(calls, error);
            thrown = m_canDeny ? writeOf("a", value) : "";
        }).join();
        return thrown;
    }

    bool m_canDeny = true;
};

const std::string longValue(9000, 'x');

struct LengthRow {
    const char* sentence;
    std::string value;
};

const LengthRow lengths[] = {
    {"a longer text", longValue},
    {"a shorter text", "1"},
    {"a text of the same length", "54321"},
};

TEST_F(OverwriteRewrite, KeepsTheInodeOfTheFile)
{
    for (const LengthRow& row : lengths) {
        put("a 12345\n", longAgo);
        const ino_t inode = inodeOf(m_path);
        EXPECT_EQ(writeOf("a", row.value), "nothing") << row.sentence;
        EXPECT_EQ(text(), "a " + row.value + '\n') << row.sentence;
        EXPECT_EQ(inodeOf(m_path), inode) << row.sentence;
    }
}

TEST_F(OverwriteRewrite, KeepsTheOldTextOnAFullDisk)
{
    for (const LengthRow& row : lengths) {
        put("a 12345\nb 2\n", longAgo);
        const std::string thrown = writeWithout({SYS_fallocate}, ENOSPC, row.value);
        if (!m_canDeny) {
            GTEST_SKIP() << "the kernel has no seccomp filters";
        }
        EXPECT_EQ(thrown, apiError(1)) << row.sentence;
        EXPECT_EQ(text(), "a 12345\nb 2\n") << row.sentence;
    }
}

TEST_F(OverwriteRewrite, WorksOnAFileSystemThatCannotReserveSpace)
{
    for (const LengthRow& row : lengths) {
        put("a 12345\nb 2\n", longAgo);
        const std::string thrown = writeWithout({SYS_fallocate}, EOPNOTSUPP, row.value);
        if (!m_canDeny) {
            GTEST_SKIP() << "the kernel has no seccomp filters";
        }
        EXPECT_EQ(thrown, "nothing") << row.sentence;
        EXPECT_EQ(text(), "a " + row.value + "\nb 2\n") << row.sentence;
    }
}

TEST_F(OverwriteRewrite, KeepsEveryKeyWhenAReadFails)
{
    put("a 12345\nb 2\n", longAgo);
    const std::string thrown = writeWithout({SYS_read}, EIO, "new");
    if (!m_canDeny) {
        GTEST_SKIP() << "the kernel has no seccomp filters";
    }
    EXPECT_EQ(thrown, apiError(1));
    EXPECT_EQ(text(), "a 12345\nb 2\n");
    EXPECT_EQ(writeOf("c", "3"), "nothing");
    EXPECT_EQ(text(), "a 12345\nb 2\nc 3\n");
}

TEST_F(OverwriteRewrite, LeavesNoFileWhenItCannotWriteTheFirstText)
{
    const std::string thrown = writeWithout({SYS_pwrite64}, EIO, "1");
    if (!m_canDeny) {
        GTEST_SKIP() << "the kernel has no seccomp filters";
    }
    EXPECT_EQ(thrown, apiError(1));
    EXPECT_FALSE(isThere());
}

TEST_F(OverwriteRewrite, RestoresTheOldTextAfterAPartialWrite)
{
    const std::string former = "a 12345\nb 2\n";
    for (rlim_t length = former.size(); length < 100; ++length) {
        put(former, longAgo);
        const support::FileSizeLimit limit(length);
        EXPECT_EQ(writeOf("a", longValue), apiError(1)) << length;
        EXPECT_EQ(text(), former) << length;
    }
}

TEST_F(OverwriteRewrite, NamesTheFileAndTheReason)
{
    ostrelApi::OverwrittenData data(m_directory / "none/1.overwrite");
    data.setData("a", "1");
    EXPECT_EQ(support::callErrorOf([&] { data.write(); }).getReason(),
              "cannot open for writing " + (m_directory / "none/1.overwrite") +
                  ": No such file or directory");
}

// Writes the two maps in turn until it is killed.
[[noreturn]] void writeForEver(const std::string& path, const Map& a, const Map& b)
{
    for (bool isOdd = false;; isOdd = !isOdd) {
        OpenData data(path);
        for (const auto& [key, value] : isOdd ? a : b) {
            data.setData(key, value);
        }
        data.write();
    }
}

TEST_F(OverwriteRewrite, LeavesOneOfTheTwoTextsAfterAKill)
{
    const Map longer = {{"a", std::string(2000, 'l')}, {"b", "1"}};
    const Map shorter = {{"a", "s"}, {"b", std::string(500, '2')}};
    put("a s\nb 1\n");
    const Map states[] = {longer, shorter};
    for (int round = 0; round < 50; ++round) {
        put("a " + longer.at("a") + "\nb " + longer.at("b") + '\n', longAgo);
        const pid_t child = ::fork();
        if (child == 0) {
            writeForEver(m_path, shorter, longer);
        }
        ::usleep(static_cast<useconds_t>(500 * round));
        ::kill(child, SIGKILL);
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
        const Map found = OpenData(m_path).getMap();
        EXPECT_NE(std::find(std::begin(states), std::end(states), found), std::end(states))
            << text();
    }
}

} // namespace
