#include "base/Files.h"

#include "support/CapturedErrors.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using ostreld::Durability;
using ostreld::Replacer;
using support::readText;
using support::writeText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr mode_t mode = 0640;

// A synced path, and what the file under test held at that moment.
struct Sync {
    std::string path;
    std::string text;
};

bool operator==(const Sync& left, const Sync& right)
{
    return left.path == right.path && left.text == right.text;
}

void PrintTo(const Sync& sync, std::ostream* out)
{
    *out << sync.path << " while the file held '" << sync.text << "'";
}

std::vector<Sync> syncs;
std::string watchedFile;
std::string failingPath;

} // namespace

// Replaces the C library's function, to record the order of the calls and to simulate a disk that
// fails.
extern "C" int fsync(int descriptor)
{
    const std::string path = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
    syncs.push_back({path, fs::exists(watchedFile) ? readText(watchedFile) : ""});
    errno = EIO;
    return path == failingPath ? -1 : 0;
}

namespace
{

class Replacement : public testing::Test
{
protected:
    Replacement()
    {
        fs::create_directory(m_scratch.parent_path());
        watchedFile = m_file;
        writeText(m_file, "old");
    }

    Replacer replacer(Durability durability) const
    {
        return {m_scratch.parent_path(), ::getegid(), durability};
    }

    const support::TemporaryDirectory m_directory;
    const fs::path m_file = m_directory.path() + "/file";
    const fs::path m_scratch = m_directory.path() + "/scratch/.new";
};

using LastingReplacement = Replacement;

TEST_F(LastingReplacement, SyncsTheTextBeforeTheRenameAndTheNameAfterIt)
{
    replacer(Durability::Lasting).replace(m_file, "new", mode);
    EXPECT_THAT(syncs, ElementsAre(Sync{m_scratch, "old"}, Sync{m_directory.path(), "new"}));
}

TEST_F(LastingReplacement, KeepsTheOldTextWhenTheDiskFailsBeforeTheRename)
{
    failingPath = m_scratch;
    EXPECT_THAT(
        support::thrownBy([&] { replacer(Durability::Lasting).replace(m_file, "new", mode); }),
        HasSubstr("cannot write to disk"));
    EXPECT_EQ(readText(m_file), "old");
}

TEST_F(LastingReplacement, KeepsTheNewTextAndLogsWhenTheDiskFailsAfterTheRename)
{
    failingPath = m_directory.path();
    const support::CapturedErrors log;
    replacer(Durability::Lasting).replace(m_file, "new", mode);
    EXPECT_EQ(readText(m_file), "new");
    EXPECT_THAT(log.text(), HasSubstr(m_file.string() + ": changed, but a power cut may undo"));
}

TEST_F(LastingReplacement, LeavesNothingInAMissingDirectory)
{
    const std::string path = m_directory.path() + "/missing/file";
    EXPECT_THAT(support::thrownBy([&] { replacer(Durability::Lasting).replace(path, "", mode); }),
                HasSubstr("cannot open"));
    replacer(Durability::Lasting).removeScratch();
    EXPECT_FALSE(fs::exists(m_scratch));
}

TEST_F(LastingReplacement, SyncsTheDirectoryAfterARemoval)
{
    replacer(Durability::Lasting).remove(m_file);
    EXPECT_THAT(syncs, ElementsAre(Sync{m_directory.path(), ""}));
}

TEST_F(Replacement, DoesNotSyncVolatileFiles)
{
    replacer(Durability::Volatile).replace(m_file, "new", mode);
    EXPECT_EQ(readText(m_file), "new");
    replacer(Durability::Volatile).remove(m_file);
    EXPECT_FALSE(fs::exists(m_file));
    EXPECT_THAT(syncs, IsEmpty());
}

TEST_F(LastingReplacement, SyncsTheParentOfACreatedPersistentDirectory)
{
    for (const auto& [name, durability] :
         {std::pair("lasting", Durability::Lasting), std::pair("volatile", Durability::Volatile)}) {
        for (int i = 0; i < 2; ++i) {
            ostreld::makeDirectory(m_directory / name, S_IRWXU, durability);
        }
    }
    EXPECT_THAT(syncs, ElementsAre(Sync{m_directory.path(), "old"}));
}

TEST_F(Replacement, SetsTheModeOfTheFile)
{
    replacer(Durability::Lasting).replace(m_file, "new", mode);
    EXPECT_EQ(fs::status(m_file).permissions(), fs::perms(mode));
}

} // namespace
