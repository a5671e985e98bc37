#include "unit/store/OverwrittenFileCase.h"

#include <ostrelApi/OstrelApiException.h>

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>

#include <sys/resource.h>

namespace
{

using ostrelApi::OstrelApiException;
using ostrelApi::OverwrittenData;
using Map = std::map<std::string, std::string>;

class OverwriteFile : public OverwrittenFileTest
{
};

TEST_F(OverwriteFile, IsReadWhenItIsNewerThanTheLastLook)
{
    put("a 1\n", longAgo);
    OpenData data(m_path);
    EXPECT_EQ(data.lastUpdate(), 0);
    EXPECT_FALSE(data.isUpToDate());
    EXPECT_EQ(data.getData("a"), "1");

    put("a 2\n", data.lastUpdate() + 1);
    EXPECT_FALSE(data.isUpToDate());
    EXPECT_EQ(data.getData("a"), "2");
}

TEST_F(OverwriteFile, IsNotReadWhenItIsNotNewerThanTheLastLook)
{
    put("a 1\n", longAgo);
    OpenData data(m_path);
    data.update();

    put("a 2\n", data.lastUpdate(), 999999999);
    EXPECT_TRUE(data.isUpToDate());
    EXPECT_EQ(data.getData("a"), "1");
    put("a 3\n", longAgo);
    EXPECT_TRUE(data.isUpToDate());
    EXPECT_EQ(data.getMap(), (Map{{"a", "1"}}));
}

TEST_F(OverwriteFile, OfTheYear1970IsNeverRead)
{
    put("a 1\n", 0);
    EXPECT_TRUE(OverwrittenData(m_path).isUpToDate());
    EXPECT_EQ(OverwrittenData(m_path).getData("a"), "");
    setTime(1);
    EXPECT_EQ(OverwrittenData(m_path).getData("a"), "1");
}

TEST_F(OverwriteFile, ReplacesTheFormerDataWithoutMerging)
{
    put("a 1\nb 2\n", longAgo);
    OpenData data(m_path);
    data.setData("c", "3");
    data.update();
    put("b new\n", data.lastUpdate() + 100);
    EXPECT_EQ(data.getMap(), (Map{{"b", "new"}, {"c", "3"}}));
}

TEST_F(OverwriteFile, KeepsTheFormerDataWhenItIsMissing)
{
    put("a 1\n", longAgo);
    OverwrittenData data(m_path);
    data.update();
    std::filesystem::remove(m_path);
    EXPECT_TRUE(data.isUpToDate());
    EXPECT_EQ(data.getData("a"), "1");
}

TEST_F(OverwriteFile, UpdatesTheTimeOfTheLastLookEvenWithoutReading)
{
    OpenData data(m_path);
    const std::int64_t before = std::time(nullptr);
    data.update();
    EXPECT_GE(data.lastUpdate(), before);
    EXPECT_LE(data.lastUpdate(), std::time(nullptr));
}

TEST_F(OverwriteFile, ThatCannotBeOpenedIsAnErrorAndIsTriedAgain)
{
    put("a 1\n", longAgo);
    OpenData data(m_path);
    data.update();
    const std::int64_t lastUpdate = data.lastUpdate();
    data.setData("b", "2");
    putUnopenable();
    setTime(lastUpdate + 100);
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_THROW(data.update(), OstrelApiException);
        EXPECT_THROW(data.getData("b"), OstrelApiException);
        EXPECT_THROW(data["b"], OstrelApiException);
        EXPECT_THROW(data.getMap(), OstrelApiException);
        EXPECT_THROW(data.write(), OstrelApiException);
        EXPECT_EQ(data.lastUpdate(), lastUpdate);
        EXPECT_EQ(data.fileData(), (Map{{"a", "1"}}));
        EXPECT_EQ(data.pendingData(), (Map{{"b", "2"}}));
    }
    std::filesystem::remove(m_path);
    put("a 3\n", lastUpdate + 100);
    EXPECT_EQ(data.getData("a"), "3");
}

TEST_F(OverwriteFile, ThatCannotBeOpenedThrowsReturnCode1)
{
    putUnopenable();
    try {
        OverwrittenData(m_path).update();
        FAIL() << "was read";
    } catch (const OstrelApiException& caught) {
        EXPECT_STREQ(caught.what(), "Error -1: Generic exception (1 - Action Failed)");
    }
}

TEST_F(OverwriteFile, ThatCannotBeReadIsAnErrorAndKeepsTheChangesPending)
{
    OpenData data(m_directory.path());
    EXPECT_THROW(data.getMap(), OstrelApiException);
    data.setData("a", "1");
    EXPECT_THROW(data.write(), OstrelApiException);
    EXPECT_EQ(data.pendingData(), (Map{{"a", "1"}}));
    EXPECT_EQ(data.lastUpdate(), 0);
}

struct WriteRow {
    const char* sentence;
    const char* former;
    Map changes;
    const char* expected;
};

TEST_F(OverwriteFile, ContainsTheFormerKeysBeforeTheNewOnes)
{
    const WriteRow rows[] = {
        {"new keys in order", "", {{"b", "2"}, {"a", "1"}}, "a 1\nb 2\n"},
        {"a changed value", "a 1\nb 2\n", {{"a", "new"}}, "a new\nb 2\n"},
        {"former keys before a smaller new one", "m 1\nz 2\n", {{"a", "3"}}, "m 1\nz 2\na 3\n"},
        {"both", "m 1\nz 2\n", {{"a", "3"}, {"m", "4"}, {"zz", "5"}}, "m 4\nz 2\na 3\nzz 5\n"},
        {"a removed key", "a 1\nb 2\n", {{"a", ""}}, "b 2\n"},
        {"the last key removed", "a 1\n", {{"a", ""}}, ""},
        {"the removal of an unknown key", "a 1\n", {{"b", ""}}, "a 1\n"},
        {"former keys are sorted", "b 2\na 1\n", {{"c", "3"}}, "a 1\nb 2\nc 3\n"},
        {"malformed lines are dropped", "a 1\n\nx\na 2\n", {{"c", "3"}}, "a 1\nc 3\n"},
        {"a former empty value stays", "a \n", {{"c", "3"}}, "a \nc 3\n"},
        {"a former empty key stays", " v\n", {{"c", "3"}}, " v\nc 3\n"},
        {"a value of two lines", "", {{"a", "1\n2"}}, "a 1\n2\n"},
        {"leading blanks are written", "", {{"a", "  1"}}, "a   1\n"},
    };
    for (const WriteRow& row : rows) {
        put(row.former, longAgo);
        OpenData data(m_path);
        for (const auto& change : row.changes) {
            data.setData(change.first, change.second);
        }
        data.write();
        EXPECT_EQ(text(), row.expected) << row.sentence;
        EXPECT_EQ(data.pendingData(), Map()) << row.sentence;
    }
}

TEST_F(OverwriteFile, LosesLeadingBlanksWhenReadBack)
{
    OverwrittenData data(m_path);
    data.setData("a", "  1 ");
    data.write();
    EXPECT_EQ(OverwrittenData(m_path).getData("a"), "1 ");
}

TEST_F(OverwriteFile, IsCreatedOnlyWhenAChangeIsPending)
{
    OverwrittenData data(m_path);
    data.write();
    EXPECT_FALSE(isThere());
    data.setData("a", "");
    data.write();
    EXPECT_EQ(text(), "");
}

TEST_F(OverwriteFile, IsNotTouchedWhenNothingIsPending)
{
    put("b 2\na 1", longAgo);
    OverwrittenData(m_path).write();
    struct stat status {
    };
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mtime, longAgo);
    EXPECT_EQ(text(), "b 2\na 1");
}

TEST_F(OverwriteFile, IsCreatedWithTheModeThatTheUmaskLeaves)
{
    const mode_t former = ::umask(027);
    OverwrittenData data(m_path);
    data.setData("a", "1");
    data.write();
    ::umask(former);
    EXPECT_EQ(std::filesystem::status(m_path).permissions(), std::filesystem::perms{0640});
}

// An object whose isUpToDate() returns what the test sets.
struct PresetData : OpenData {
    using OpenData::OpenData;
    bool isUpToDate() override { return m_isUpToDate; }

    bool m_isUpToDate = false;
};

TEST_F(OverwriteFile, WrittenInTheSecondOfTheLookShowsTheFormerValues)
{
    put("a 1\n");
    PresetData data(m_path);
    data.update();
    data.m_isUpToDate = true;
    data.setData("a", "2");
    data.setData("b", "3");
    data.write();
    EXPECT_EQ(text(), "a 2\nb 3\n");
    EXPECT_EQ(data.getData("a"), "1");
    EXPECT_EQ(data.getMap(), (Map{{"a", "1"}}));
}

TEST_F(OverwriteFile, WrittenInALaterSecondShowsTheNewValues)
{
    put("a 1\n");
    PresetData data(m_path);
    data.setData("a", "2");
    data.setData("b", "3");
    data.write();
    EXPECT_EQ(data.fileData(), (Map{{"a", "2"}, {"b", "3"}}));
    EXPECT_EQ(data.pendingData(), Map());
}

TEST_F(OverwriteFile, ThatCannotBeCreatedLeavesTheChangesPending)
{
    OpenData data(m_directory / "none/1.overwrite");
    data.setData("a", "1");
    EXPECT_THROW(data.write(), OstrelApiException);
    EXPECT_EQ(data.pendingData(), (Map{{"a", "1"}}));
    std::filesystem::create_directory(m_directory / "none");
    data.write();
    EXPECT_EQ(support::readText(m_directory / "none/1.overwrite"), "a 1\n");
}

TEST_F(OverwriteFile, ThatCannotBeWrittenCompletelyLeavesTheChangesPending)
{
    OpenData data(m_path);
    data.setData("a", "12345678");
    rlimit former{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
    const rlimit narrow{4, former.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &narrow), 0);
    EXPECT_THROW(data.write(), OstrelApiException);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &former), 0);
    EXPECT_EQ(data.pendingData(), (Map{{"a", "12345678"}}));
    data.write();
    EXPECT_EQ(text(), "a 12345678\n");
}

} // namespace
