#include <ostrel/Tools.h>

#include "support/CapturedErrors.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <ftw.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ostrel::Tools;
using support::CapturedErrors;
using support::CapturedTrace;
using support::TemporaryDirectory;
using support::writeText;

TEST(RemoveFile, RemovesAFileAnEmptyDirectoryAndALink)
{
    const TemporaryDirectory directory;
    writeText(directory / "file", "text");
    writeText(directory / "target", "text");
    fs::create_directory(directory / "directory");
    fs::create_symlink(directory / "target", directory / "link");
    const CapturedTrace errors;
    for (const char* name : {"file", "directory", "link"}) {
        EXPECT_EQ(Tools::removeFile(directory / name), 0) << name;
        EXPECT_FALSE(fs::exists(fs::symlink_status(directory / name))) << name;
    }
    EXPECT_EQ(support::readText(directory / "target"), "text") << "the target of the link stays";
    EXPECT_EQ(errors.text(), "");
}

TEST(RemoveFile, TracesAMissingFile)
{
    const TemporaryDirectory directory;
    writeText(directory / "file", "text");
    fs::create_symlink(directory / "missing", directory / "dangling");
    for (const char* name : {"missing", "missing/file", "file/below", "dangling"}) {
        const std::string path = directory / name;
        const CapturedTrace errors;
        EXPECT_EQ(Tools::removeFile(path), -1);
        EXPECT_EQ(errors.text(), "The file '" + path + "' not found for removal.\n");
    }
    EXPECT_TRUE(fs::is_symlink(directory / "dangling"))
        << "a dangling link does not count as a file";
}

TEST(RemoveFile, TracesTheReasonOfAFailure)
{
    const TemporaryDirectory directory;
    writeText(directory / "full/file", "text");
    const struct {
        std::string path;
        const char* reason;
    } rows[] = {
        {directory / "full", "Directory not empty"},
        {directory / "full/.", "Invalid argument"},
        {"/proc/self/fdinfo", "Operation not permitted"},
    };
    for (const auto& row : rows) {
        const CapturedTrace errors;
        EXPECT_EQ(Tools::removeFile(row.path), -1);
        EXPECT_EQ(errors.text(),
                  "Failed to remove file '" + row.path + "' : error: " + row.reason + "\n");
    }
    EXPECT_EQ(support::readText(directory / "full/file"), "text");
}

TEST(RemoveFiles, RemovesATreeAndDoesNotFollowItsLinks)
{
    const TemporaryDirectory directory;
    writeText(directory / "outside/file", "text");
    writeText(directory / "tree/a/b/file", "text");
    writeText(directory / "tree/c", "text");
    fs::create_directory(directory / "tree/empty");
    ASSERT_EQ(::mkfifo((directory / "tree/fifo").c_str(), 0600), 0);
    fs::create_directory_symlink(directory / "outside", directory / "tree/a/link");
    fs::create_symlink(directory / "missing", directory / "tree/dangling");
    const CapturedErrors errors;
    EXPECT_EQ(Tools::removeFiles(directory / "tree"), 0);
    EXPECT_FALSE(fs::exists(directory / "tree"));
    EXPECT_EQ(support::readText(directory / "outside/file"), "text");
    EXPECT_EQ(errors.text(), "");
}

TEST(RemoveFiles, RemovesAlsoAFileOrALink)
{
    const TemporaryDirectory directory;
    writeText(directory / "outside/file", "text");
    fs::create_directory_symlink(directory / "outside", directory / "link");
    EXPECT_EQ(Tools::removeFiles(directory / "link"), 0);
    EXPECT_FALSE(fs::exists(fs::symlink_status(directory / "link")));
    EXPECT_EQ(Tools::removeFiles(directory / "outside/file"), 0);
    EXPECT_TRUE(fs::is_empty(directory / "outside"));
}

TEST(RemoveFiles, FailsSilentlyForAMissingTree)
{
    const TemporaryDirectory directory;
    const CapturedErrors errors;
    EXPECT_EQ(Tools::removeFiles(directory / "missing"), -1);
    EXPECT_EQ(errors.text(), "");
}

// This tree is deeper than the limit on descriptors.
TEST(RemoveFiles, NeedsNoMoreThanSixtyFourOpenDirectories)
{
    const TemporaryDirectory directory;
    std::string path = directory / "tree";
    for (int depth = 0; depth < 200; ++depth) {
        path += "/d";
    }
    writeText(path + "/file", "text");
    const auto used = static_cast<rlim_t>(support::openDescriptorCount());
    const rlimit limit = {used + 66, used + 66};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(Tools::removeFiles(directory / "tree"), 0);
    EXPECT_FALSE(fs::exists(directory / "tree"));
    EXPECT_EQ(support::openDescriptorCount(), used);
}

// The kernel lets no user remove these entries, and there are several of them.
TEST(RemoveFiles, StopsAtTheFirstFailureAndPrintsItEvenWithoutTheDebugFlag)
{
    ASSERT_FALSE(ostrel::Tools::fileExist("/proc/self/fdinfo/missing"));
    const CapturedErrors errors;
    EXPECT_EQ(Tools::removeFiles("/proc/self/fdinfo"), -1);
    EXPECT_EQ(errors.text(), "/proc/self/fdinfo/0: Operation not permitted\n");
}

TEST(RemoveFiles, RemovesTheChildrenBeforeTheirDirectory)
{
    const TemporaryDirectory directory;
    writeText(directory / "tree/a/file", "text");
    const std::string path = directory / "tree/.";
    const CapturedErrors errors;
    EXPECT_EQ(Tools::removeFiles(path), -1);
    EXPECT_EQ(errors.text(), path + ": Invalid argument\n");
    EXPECT_TRUE(fs::is_empty(directory / "tree"));
}

TEST(RemoveOnFile, IsACallbackForNftw)
{
    const __nftw_func_t callback = Tools::removeOnFile;
    const TemporaryDirectory directory;
    writeText(directory / "full/file", "text");
    const std::string file = directory / "full/file";
    const std::string full = directory / "full";
    const CapturedErrors errors;
    EXPECT_EQ(callback(full.c_str(), nullptr, FTW_DP, nullptr), -1);
    EXPECT_EQ(errors.text(), full + ": Directory not empty\n");
    EXPECT_EQ(callback(file.c_str(), nullptr, FTW_F, nullptr), 0);
    EXPECT_EQ(callback(full.c_str(), nullptr, FTW_DP, nullptr), 0);
    EXPECT_FALSE(fs::exists(full));
    EXPECT_EQ(callback(full.c_str(), nullptr, FTW_NS, nullptr), -1);
    EXPECT_EQ(errors.text(),
              full + ": Directory not empty\n" + full + ": No such file or directory\n");
}

} // namespace
