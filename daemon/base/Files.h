#pragma once

// Files as a daemon needs them: replaced whole, so that a reader and a power
// cut meet the old text or the new one; and read without trusting their names.

#include "tools/Descriptor.h"

#include <string>

#include <sys/types.h>

namespace ostreld
{

/// The limits of what is read: a file of the daemon's own, and one that a client
/// may write.
constexpr std::size_t largestOwnFile = 16 << 20;
constexpr std::size_t largestClientFile = 1 << 20;

/// Who may reach a file: the daemon's user, and a group with these bits.
struct Access {
    gid_t group;
    mode_t mode;
};

/// A failed system call: what was attempted on which path, and why not.
[[noreturn]] void failSystemCall(const std::string& attempt, const std::string& path);

/// Gives an open file its group and mode, unless it has them; no group has in
/// between what it had not before and is not to have after.
void setAccess(const ostrel::Descriptor& file, const std::string& path, const Access& access);

bool isFifo(const ostrel::Descriptor& file);

/// What poll() says of `events` at this moment.
short eventsOf(const ostrel::Descriptor& file, short events);

/// Whether something is of this type (S_IFDIR ...) and the daemon's alone: a file
/// may be another one's too, by a second name.
bool isOwn(const struct stat& status, mode_t type);

/// Whether a file, or a directory, has to outlive a power cut.
enum class Durability { Lasting, Volatile };

/// Makes the directory `path`, below one that exists, for the daemon alone. One
/// that is there has to be the daemon's own, and loses what it has beyond `widest`.
void makeDirectory(const std::string& path, mode_t widest, Durability durability);

/// Gives a directory of the daemon's its access, once all in it is in its place.
void setDirectoryAccess(const std::string& path, const Access& access);

/// Who reaches the directory of a service's pipes: clients make files of their
/// own there, and the sticky bit keeps the daemon's from them.
constexpr mode_t pipeDirectoryMode = 01730;

/// Files of one directory, replaced whole: written under another name in
/// `scratchDirectory` (same file system), then renamed. What an interrupted
/// replacement leaves is removed by removeScratch(). What fails leaves all as it
/// was; but a change that is made, and that the disk does not confirm, stands,
/// and is logged.
class Replacer
{
public:
    Replacer(std::string scratchDirectory, gid_t group, Durability durability);

    /// Puts `text` in the place of the file `path`.
    void replace(const std::string& path, const std::string& text, mode_t mode) const;

    /// The same unless it holds that text: nothing is written then, which a full
    /// disk could refuse.
    void update(const std::string& path, const std::string& text, mode_t mode) const;

    /// Gives the file `path`, as it is, the group and this mode; a missing one
    /// is no failure.
    void share(const std::string& path, mode_t mode) const;

    /// Removes the file `path`, lastingly; a missing one is no failure.
    void remove(const std::string& path) const;

    void removeScratch() const;

private:
    void putInPlace(const ostrel::Descriptor& file, const std::string& path) const;
    ostrel::Descriptor directoryToSync(const std::string& path) const;

    std::string m_scratch;
    gid_t m_group;
    Durability m_durability;
};

/// The text of the regular file `name` directly in `directory`, opened without
/// following a link. Throws std::runtime_error when it is anything else or has
/// more than `limit` bytes.
std::string readRegularFile(const std::string& directory, const std::string& name,
                            std::size_t limit);

/// The same for the file `path` of the daemon's directories.
std::string readOwnFile(const std::string& path, std::size_t limit = largestOwnFile);

} // namespace ostreld
