#include "base/PipeFiles.h"

#include "support/CapturedErrors.h"
#include "support/TextFiles.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <sys/stat.h>

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

} // namespace
