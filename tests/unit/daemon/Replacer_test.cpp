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
using ostreld::Directory;
using ostreld::Durability;
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

    /// Replaces the file through a directory of this durability.
    void replace(Durability durability) const
    {
        opened(m_directory.path(), durability)
            .replace(m_file.filename(), "new", {::getegid(), mode}, scratch(durability));
    }

    Directory scratch(Durability durability) const
    {
        return opened(m_scratch.parent_path(), durability);
    }

    static Directory opened(const std::string& path, Durability durability)
    {
        Directory directory(path, durability);
        directory.make({::getegid(), S_IRWXU});
        return directory;
    }

    const support::TemporaryDirectory m_directory;
    const fs::path m_file = m_directory.path() + "/file";
    const fs::path m_scratch = m_directory.path() + "/scratch/.new";
};

using PersistentReplacement = Replacement;

TEST_F(PersistentReplacement, SyncsTheTextBeforeTheRenameAndTheNameAfterIt)
{
    replace(Durability::Persistent);
    EXPECT_THAT(syncs, ElementsAre(Sync{m_scratch, "old"}, Sync{m_directory.path(), "new"}));
}

TEST_F(PersistentReplacement, KeepsTheOldTextWhenTheDiskFailsBeforeTheRename)
{
    failingPath = m_scratch;
    EXPECT_THAT(support::thrownBy([&] { replace(Durability::Persistent); }),
                HasSubstr("cannot write to disk"));
    EXPECT_EQ(readText(m_file), "old");
}

TEST_F(PersistentReplacement, KeepsTheNewTextAndLogsWhenTheDiskFailsAfterTheRename)
{
    failingPath = m_directory.path();
    const support::CapturedErrors log;
    replace(Durability::Persistent);
    EXPECT_EQ(readText(m_file), "new");
    EXPECT_THAT(log.text(), HasSubstr(m_file.string() + ": changed, but a power cut may undo"));
}

TEST_F(PersistentReplacement, RemovesWhatAnInterruptedOneLeft)
{
    writeText(m_scratch, "half");
    scratch(Durability::Persistent);
    EXPECT_FALSE(fs::exists(m_scratch));
}

TEST_F(PersistentReplacement, SyncsTheDirectoryAfterARemoval)
{
    opened(m_directory.path(), Durability::Persistent).remove("file");
    EXPECT_THAT(syncs, ElementsAre(Sync{m_directory.path(), ""}));
}

TEST_F(Replacement, DoesNotSyncVolatileFiles)
{
    replace(Durability::Volatile);
    EXPECT_EQ(readText(m_file), "new");
    opened(m_directory.path(), Durability::Volatile).remove("file");
    EXPECT_FALSE(fs::exists(m_file));
    EXPECT_THAT(syncs, IsEmpty());
}

TEST_F(PersistentReplacement, SyncsTheParentOfACreatedPersistentDirectory)
{
    for (const auto& [name, durability] : {std::pair("persistent", Durability::Persistent),
                                           std::pair("volatile", Durability::Volatile)}) {
        for (int i = 0; i < 2; ++i) {
            ostreld::makeDirectory(m_directory / name, S_IRWXU, durability);
        }
    }
    EXPECT_THAT(syncs, ElementsAre(Sync{m_directory.path(), "old"}));
}

TEST_F(Replacement, SetsTheModeOfTheFile)
{
    replace(Durability::Persistent);
    EXPECT_EQ(fs::status(m_file).permissions(), fs::perms(mode));
}

} // namespace
