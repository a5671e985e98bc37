#include <ostrel/Tools.h>

#include "support/CapturedErrors.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ostrel::Tools;
using support::TemporaryDirectory;
using support::thrownBy;
using support::writeText;

// Names that cannot be opened, each for another reason.
const char* const unreachableNames[] = {"missing", "missing/file", "file/below", "loop",
                                        "dangling"};

class Files : public testing::Test
{
protected:
    Files()
    {
        writeText(directory / "file", "text");
        fs::create_symlink(directory / "file", directory / "link");
        fs::create_symlink(directory / "loop", directory / "loop");
        fs::create_symlink(directory / "missing", directory / "dangling");
        fs::create_directory(directory / "directory");
        ::mkfifo((directory / "fifo").c_str(), 0600);
    }

    std::uint32_t modeOf(const std::string& name) const
    {
        return Tools::getRights(directory / name).mode & 07777;
    }

    const TemporaryDirectory directory;
};

using FileExist = Files;

TEST_F(FileExist, FindsAnyKindOfFile)
{
    for (const char* name : {"file", "link", "directory", "fifo", "."}) {
        EXPECT_TRUE(Tools::fileExist(directory / name)) << name;
    }
    EXPECT_TRUE(Tools::fileExist("/dev/null"));
}

TEST_F(FileExist, DoesNotFindUnreachableFiles)
{
    for (const char* name : unreachableNames) {
        EXPECT_FALSE(Tools::fileExist(directory / name)) << name;
    }
    EXPECT_FALSE(Tools::fileExist(""));
    EXPECT_FALSE(Tools::fileExist(directory / std::string(5000, 'x')));
}

using ChangeMode = Files;

TEST_F(ChangeMode, SetsOnlyPermissionSetIdAndStickyBits)
{
    struct {
        const char* sentence;
        mode_t mode;
        std::uint32_t expected;
    } const rows[] = {
        {"permissions", 0640, 0640},
        {"no bits", 0, 0},
        {"all permissions, despite the umask", 0777, 0777},
        {"set-id and sticky bits", 07711, 07711},
        {"file-type bits are dropped", S_IFDIR | 0604, 0604},
        {"every bit set", static_cast<mode_t>(-1), 07777},
    };
    ::umask(077);
    for (const auto& row : rows) {
        EXPECT_EQ(Tools::changeMode(directory / "file", row.mode), 0) << row.sentence;
        EXPECT_EQ(modeOf("file"), row.expected) << row.sentence;
        EXPECT_TRUE(fs::is_regular_file(directory / "file")) << row.sentence;
    }
}

TEST_F(ChangeMode, FollowsALink)
{
    Tools::changeMode(directory / "link", 0606);
    EXPECT_EQ(modeOf("file"), 0606U);
}

TEST_F(ChangeMode, ThrowsWhenTheModeCannotBeChanged)
{
    for (const char* name : unreachableNames) {
        const std::string path = directory / name;
        EXPECT_EQ(thrownBy([&] { Tools::changeMode(path, 0600); }),
                  "std::runtime_error: Impossible to change mode for " + path);
    }
}

using GetRights = Files;

TEST_F(GetRights, ReturnsTheModeWithTheFileType)
{
    const struct {
        const char* name;
        std::uint32_t type;
    } rows[] = {{"file", S_IFREG}, {"link", S_IFREG}, {"directory", S_IFDIR}, {"fifo", S_IFIFO}};
    for (const auto& row : rows) {
        Tools::changeMode(directory / row.name, 04751);
        EXPECT_EQ(Tools::getRights(directory / row.name).mode, row.type | 04751) << row.name;
    }
    EXPECT_EQ(Tools::getRights("/dev/null").mode & S_IFMT, std::uint32_t{S_IFCHR});
}

TEST_F(GetRights, ReturnsTheOwners)
{
    struct stat status = {};
    ASSERT_EQ(::stat("/proc/1", &status), 0);
    const Tools::Rights rights = Tools::getRights("/proc/1");
    EXPECT_EQ(rights.uid, status.st_uid);
    EXPECT_EQ(rights.gid, status.st_gid);
    EXPECT_EQ(Tools::getRights(directory / "file").uid, ::geteuid());
}

TEST_F(GetRights, ReturnsAnAggregateOfModeUserAndGroup)
{
    const Tools::Rights rights = {1, 2, 3};
    EXPECT_EQ(rights.mode, 1U);
    EXPECT_EQ(rights.uid, 2U);
    EXPECT_EQ(rights.gid, 3U);
}

TEST_F(GetRights, ThrowsForAnUnreachableFile)
{
    for (const char* name : unreachableNames) {
        const std::string path = directory / name;
        EXPECT_EQ(thrownBy([&] { Tools::getRights(path); }),
                  "std::runtime_error: Impossible to open " + path);
    }
}

using CreateDirectory = Files;

TEST_F(CreateDirectory, AppliesTheUmaskToTheModeOfACreatedDirectory)
{
    ::umask(027);
    Tools::createDirectory(directory / "new", 0777);
    EXPECT_TRUE(fs::is_directory(directory / "new"));
    EXPECT_EQ(modeOf("new"), 0750U);
}

TEST_F(CreateDirectory, SetsTheExactModeOfAnExistingDirectory)
{
    ::umask(027);
    writeText(directory / "directory/file", "kept");
    for (const mode_t mode : {0777U, 0700U, 01775U, S_IFDIR | 0711U}) {
        Tools::createDirectory(directory / "directory", mode);
        EXPECT_EQ(modeOf("directory"), mode & 07777);
    }
    EXPECT_EQ(support::readText(directory / "directory/file"), "kept");
}

TEST_F(CreateDirectory, AcceptsALinkToADirectory)
{
    fs::create_directory_symlink(directory / "directory", directory / "alias");
    Tools::createDirectory(directory / "alias", 0711);
    EXPECT_EQ(modeOf("directory"), 0711U);
    EXPECT_TRUE(fs::is_symlink(directory / "alias"));
}

TEST_F(CreateDirectory, OnlyTracesAFailureToCreate)
{
    for (const char* name : {"missing/below", "file", "file/below", "loop", "dangling", "fifo"}) {
        const std::string path = directory / name;
        const support::CapturedTrace errors;
        EXPECT_EQ(thrownBy([&] { Tools::createDirectory(path, 0777); }), "nothing") << name;
        EXPECT_EQ(errors.text(), "Impossible to create " + path + "\n");
        std::error_code noError;
        EXPECT_FALSE(fs::is_directory(path, noError)) << name;
    }
    EXPECT_FALSE(fs::exists(directory / "missing")) << "no parents are created";
    EXPECT_EQ(support::readText(directory / "file"), "text");
}

// No user may change the mode of what the kernel shows there.
TEST_F(CreateDirectory, ThrowsWhenTheModeOfAnExistingDirectoryCannotBeChanged)
{
    const std::size_t before = support::openDescriptorCount();
    EXPECT_EQ(thrownBy([] { Tools::createDirectory("/proc/self/fd", 0700); }),
              "std::runtime_error: Caught runtime exception. Faied to change the mode. Reason: "
              "Impossible to change mode for /proc/self/fd");
    EXPECT_EQ(support::openDescriptorCount(), before);
}

TEST_F(CreateDirectory, LeavesNoDescriptorOpen)
{
    const std::size_t before = support::openDescriptorCount();
    Tools::createDirectory(directory / "directory", 0700);
    Tools::createDirectory(directory / "other", 0700);
    EXPECT_EQ(support::openDescriptorCount(), before);
}

TEST_F(Files, FailSilentlyWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    Tools::createDirectory(directory / "missing/below", 0700);
    Tools::removeFile(directory / "missing");
    Tools::removeFile(directory.path());
    Tools::getGroupId("root");
    Tools::getGroups("daemon");
    EXPECT_EQ(errors.text(), "");
}

} // namespace
