#pragma once

#include "support/TextFiles.h"

#include <ostrelApi/OverwrittenData.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>

/// A test of an ".overwrite" file, which does not exist at first. The test sets
/// the modification time itself, so nothing depends on the time of the test
/// run.
class OverwrittenFileTest : public testing::Test
{
protected:
    /// A time before any look at the file.
    static constexpr std::int64_t longAgo = 1000000000;

    bool isThere() const { return std::filesystem::exists(m_path); }
    std::string text() const { return support::readText(m_path); }

    void put(const std::string& content) const { support::writeText(m_path, content); }

    void put(const std::string& content, std::int64_t seconds, long nanoseconds = 0) const
    {
        put(content);
        setTime(seconds, nanoseconds);
    }

    void setTime(std::int64_t seconds, long nanoseconds = 0) const
    {
        timespec time{};
        time.tv_sec = static_cast<std::time_t>(seconds);
        time.tv_nsec = nanoseconds;
        const timespec times[] = {time, time};
        ASSERT_EQ(::utimensat(AT_FDCWD, m_path.c_str(), times, 0), 0) << m_path;
    }

    /// Replaces the file by one that exists but cannot be opened.
    void putUnopenable() const
    {
        std::filesystem::remove(m_path);
        support::makeUnopenable(m_path);
    }

    const support::TemporaryDirectory m_directory;
    const std::string m_path = m_directory / "1.overwrite";
};

/// Shows what an object last read, and when.
struct OpenData : ostrelApi::OverwrittenData {
    using OverwrittenData::OverwrittenData;

    std::int64_t lastUpdate() const { return m_lastUpdate; }
    const std::map<std::string, std::string>& fileData() const { return m_fileData; }
    const std::map<std::string, std::string>& pendingData() const { return m_pendingData; }
};
