#include "base/PipeFiles.h"

#include "support/CapturedErrors.h"
#include "support/TextFiles.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// So many times somebody is faster, with a file that has a second name.
int intruders = 0;

} // namespace

// Replaces the C library's function, to put somebody else's file there first.
extern "C" int mknod(const char* path, mode_t mode, dev_t device)
{
    if (intruders > 0) {
        --intruders;
        const std::string second = std::string(path) + ".second";
        ::unlink(second.c_str());
        ::mknodat(AT_FDCWD, path, mode, device);
        ::link(path, second.c_str());
        errno = EEXIST;
        return -1;
    }
    return ::mknodat(AT_FDCWD, path, mode, device);
}

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

class PipeFiles : public testing::Test
{
protected:
    std::size_t count() const
    {
        const fs::directory_iterator entries(directory.path());
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    const support::TemporaryDirectory directory;
    const support::TemporaryDirectory elsewhere;
    const std::string path = directory / "web.out";
};

TEST_F(PipeFiles, AreRemovedWhenTheyHaveAnyFileType)
{
    const std::string other = elsewhere / "file";
    support::writeText(other, "text");
    const struct {
        const char* sentence;
        void (*put)(const std::string& name, const std::string& target);
    } rows[] = {
        {"nothing", [](const std::string&, const std::string&) {}},
        {"a file",
         [](const std::string& name, const std::string&) { support::writeText(name, ""); }},
        {"a FIFO",
         [](const std::string& name, const std::string&) { ::mkfifo(name.c_str(), 0600); }},
        {"a symbolic link", [](const std::string& name,
                               const std::string& target) { fs::create_symlink(target, name); }},
        {"a directory",
         [](const std::string& name, const std::string&) { fs::create_directory(name); }},
        {"a directory with files and a link to another directory",
         [](const std::string& name, const std::string& target) {
             support::writeText(name + "/sub/file", "text");
             fs::create_symlink(fs::path(target).parent_path(), name + "/sub/link");
         }},
    };
    for (const auto& row : rows) {
        row.put(path, other);
        EXPECT_TRUE(ostreld::freeName(path)) << row.sentence;
        EXPECT_EQ(count(), 0U) << row.sentence;
        EXPECT_EQ(support::readText(other), "text") << row.sentence;
    }
}

// A path of that length can be neither made nor removed in one step.
void makeDeepDirectory(const std::string& path, int depth)
{
    fs::create_directory(path);
    auto at = ostrel::Descriptor::open(path, O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < depth; ++i) {
        ASSERT_EQ(::mkdirat(at.get(), "deeper", 0700), 0);
        ::close(::openat(at.get(), "file", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        at = ostrel::Descriptor(::openat(at.get(), "deeper", O_RDONLY | O_CLOEXEC));
    }
}

/// How many descriptors the process may have beside those that are open.
class DescriptorsLeft
{
public:
    explicit DescriptorsLeft(rlim_t count)
    {
        ::getrlimit(RLIMIT_NOFILE, &m_former);
        const auto lowestFree = ostrel::Descriptor::open("/", O_RDONLY);
        const rlimit limit = {static_cast<rlim_t>(lowestFree.get()) + count, m_former.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorsLeft() { ::setrlimit(RLIMIT_NOFILE, &m_former); }
    DescriptorsLeft(const DescriptorsLeft&) = delete;
    DescriptorsLeft& operator=(const DescriptorsLeft&) = delete;

private:
    rlimit m_former{};
};

TEST_F(PipeFiles, AreRemovedWithTenDescriptorsHoweverDeepTheyAre)
{
    makeDeepDirectory(path, 1100);
    const DescriptorsLeft limit(10);
    EXPECT_TRUE(ostreld::freeName(path));
    EXPECT_EQ(count(), 0U);
}

TEST_F(PipeFiles, ThatCannotBeRemovedAreLogged)
{
    const support::CapturedErrors errors;
    EXPECT_FALSE(ostreld::freeName("/proc/self"));
    EXPECT_THAT(errors.text(), HasSubstr("/proc/self cannot be removed: "));
}

TEST_F(PipeFiles, ThatWereSetAsideAreRemovedLater)
{
    support::writeText(path + ".removed-012345/sub/file", "text");
    support::writeText(directory / "web.in.removed-012345", "another's");
    support::writeText(directory / "vpn.out", "another's");
    ostreld::removeSetAside(path);
    EXPECT_EQ(count(), 2U);
}

TEST_F(PipeFiles, AreTheDaemonsOwnWhenTheyAreOpenedForIt)
{
    for (const mode_t type : {mode_t{S_IFIFO}, mode_t{S_IFREG}}) {
        intruders = 3;
        const auto file = ostreld::openOwn(path, type, O_RDONLY);
        struct stat opened {
        };
        ASSERT_EQ(::fstat(file.get(), &opened), 0);
        EXPECT_EQ(opened.st_mode, type | 0600U);
        EXPECT_EQ(opened.st_nlink, 1U);
        EXPECT_EQ(intruders, 0);
        EXPECT_TRUE(ostreld::freeName(path));
    }
}

TEST_F(PipeFiles, AreNotOpenedWhileSomebodyKeepsTheirName)
{
    intruders = 1000;
    EXPECT_THROW(ostreld::openOwn(path, S_IFIFO, O_RDONLY), std::runtime_error);
    intruders = 0;
}

TEST_F(PipeFiles, AreKeptWhenAFormerDaemonMadeThem)
{
    const auto former = ostreld::openOwn(path, S_IFREG, O_RDONLY);
    support::writeText(path, "text");
    ostreld::openOwn(path, S_IFREG, O_RDONLY);
    EXPECT_EQ(support::readText(path), "text");
}

} // namespace
