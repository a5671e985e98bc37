#pragma once

// The daemon's files. They are replaced as a whole, so that a reader, also after a power cut,
// finds the old text or the new one. They are read without trust in their names.

#include "base/SecretText.h"

#include "tools/Descriptor.h"

#include <ctime>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace ostreld
{

/// The largest file that the daemon reads: one of its own, and one of a client.
constexpr std::size_t largestOwnFile = 16 << 20;
constexpr std::size_t largestClientFile = 1 << 20;

/// The access to a file: the daemon's user owns it, and a group has these bits.
struct Access {
    gid_t group;
    mode_t mode;
};

/// Throws std::runtime_error for a failed system call: the attempt, the path and errno.
[[noreturn]] void failSystemCall(const std::string& attempt, const std::string& path);

/// Gives an open file its group and mode, unless it has them. At no time does a group have a
/// right that it has neither before nor after.
void setAccess(const ostrel::Descriptor& file, const std::string& path, const Access& access);

bool isFifo(const ostrel::Descriptor& file);

/// Those of `events` that poll() reports now.
short eventsOf(const ostrel::Descriptor& file, short events);

/// Whether a file has this type (S_IFDIR ...) and belongs to the daemon alone. A file with a
/// second name may belong to somebody else, too.
bool isOwn(const struct stat& status, mode_t type);

/// Whether a file or directory must survive a power cut.
enum class Durability { Persistent, Volatile };

/// Creates the directory `path` for the daemon alone; its parent must exist. A directory that
/// exists must belong to the daemon, and loses all rights beyond `widest`.
void makeDirectory(const std::string& path, mode_t widest, Durability durability);

/// Gives a directory of the daemon its access. Call it when its contents are complete.
void setDirectoryAccess(const std::string& path, const Access& access);

/// The access to the directory of a service's pipes. Clients create files there, and the
/// sticky bit protects the daemon's files from them.
constexpr mode_t pipeDirectoryMode = 01730;

/// Identifies one state of a file. All members are zero if the file does not exist.
struct FileStamp {
    ino_t inode = 0;
    off_t size = 0;
    timespec modified{};
    timespec changed{};
};
bool operator==(const FileStamp& left, const FileStamp& right);
FileStamp stampOf(const struct stat& status);

/// Iterates over the names in an open directory. Move-only.
class DirectoryNames
{
public:
    DirectoryNames() = default;
    /// Opens the directory `name` in `parent`; does not follow a link.
    DirectoryNames(int parent, const std::string& name);

    [[nodiscard]] bool isOpen() const { return m_entries != nullptr; }
    [[nodiscard]] int directory() const { return ::dirfd(m_entries.get()); }

    /// The next name, valid until the next call; null at the end. Throws std::runtime_error.
    const char* next();
    void rewind() { ::rewinddir(m_entries.get()); }

private:
    struct Close {
        void operator()(DIR* entries) const { ::closedir(entries); }
    };
    std::unique_ptr<DIR, Close> m_entries;
};

/// A directory of the daemon, held open, and its files by name. Move-only.
///
/// A file is replaced as a whole: the daemon writes it as ".new" in `scratch`, a directory of
/// the same file system, and renames it. A replacement that fails changes nothing. If only
/// the last sync fails, the replacement stands and the failure is logged. Links are not
/// followed.
class Directory
{
public:
    Directory(std::string path, Durability durability);

    /// Creates the directory unless it exists, sets its access, opens it, and removes the
    /// ".new" of an interrupted replacement.
    void make(const Access& access);

    const std::string& path() const { return m_path; }
    std::string pathOf(const std::string& name) const { return m_path + '/' + name; }

    /// The names in the directory.
    DirectoryNames names() const;

    /// The status of a file; empty if it does not exist.
    std::optional<struct stat> status(const std::string& name) const;
    bool has(const std::string& name) const { return status(name).has_value(); }

    /// The text of a regular file; throws std::runtime_error.
    std::string read(const std::string& name, std::size_t limit = largestOwnFile) const;
    /// The same; empty if `name` is not a regular file.
    std::string readIfThere(const std::string& name) const;
    /// The same for a file that holds a key.
    SecretText readSecretIfThere(const std::string& name) const;

    /// Replaces the file by `text`.
    FileStamp replace(const std::string& name, std::string_view text, const Access& access,
                      const Directory& scratch) const;

    /// The same, but does not write if the file contains that text, because a full disk could
    /// refuse the write.
    FileStamp update(const std::string& name, std::string_view text, const Access& access,
                     const Directory& scratch) const;

    /// Like replace(), but in the room of the file `spare`, which is gone afterwards, also
    /// after a failure.
    void replaceInRoomOf(const std::string& spare, const std::string& name, std::string_view text,
                         const Access& access) const;

    /// Creates an empty file or replaces one by an empty file. Does not sync it.
    void create(const std::string& name, const Access& access) const;

    /// Sets the access to a file, unless it has it. Ignores a missing file.
    FileStamp share(const std::string& name, const Access& access) const;

    /// Renames a file. Ignores a missing file.
    void rename(const std::string& from, const std::string& to) const;

    /// Removes a file; ignores a missing one. remove() also syncs the directory.
    void unlink(const std::string& name) const;
    void remove(const std::string& name) const;

private:
    ostrel::Descriptor open(const std::string& name, int flags) const;
    ostrel::Descriptor openNew(const std::string& name) const;
    FileStamp putInPlace(const ostrel::Descriptor& file, const std::string& name,
                         std::string_view text, const Access& access,
                         const Directory& scratch) const;
    void sync(const std::string& changed) const noexcept;

    std::string m_path;
    Durability m_durability;
    ostrel::Descriptor m_directory;
};

/// Removes all these files, even if one of them cannot be removed. Throws std::runtime_error
/// if one of them remains.
struct NamedFile {
    const Directory* directory;
    std::string name;
};
void removeEach(std::initializer_list<NamedFile> files);

/// The text of the regular file `name` directly in `directory`; does not follow a link.
/// Throws std::runtime_error for any other file and for more than `limit` bytes.
std::string readRegularFile(const std::string& directory, const std::string& name,
                            std::size_t limit);

} // namespace ostreld
