#include "base/Files.h"

#include "base/Log.h"

#include "tools/ErrorText.h"

#include <fmt/format.h>

#include <cerrno>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

constexpr uid_t sameUser = static_cast<uid_t>(-1);
constexpr mode_t ownerOnly = 0600;
constexpr mode_t allModeBits = 07777;

Descriptor openOrFail(const std::string& path, int flags, mode_t mode = 0)
{
    Descriptor file = Descriptor::open(path, flags | O_NOFOLLOW, mode);
    if (!file.isOpen()) {
        failSystemCall("open", path);
    }
    return file;
}

void setMode(const Descriptor& file, const std::string& path, mode_t& mode, mode_t wanted)
{
    if (mode != wanted && ::fchmod(file.get(), wanted) != 0) {
        failSystemCall("change the mode of", path);
    }
    mode = wanted;
}

std::string directoryOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

void sync(const Descriptor& file, const std::string& path)
{
    if (::fsync(file.get()) != 0) {
        failSystemCall("write to disk", path);
    }
}

// The change has been made, and readers have seen it: a disk that does not say
// whether it will last is no reason to undo it.
void syncIfOpen(const Descriptor& directory, const std::string& changed)
{
    if (directory.isOpen() && ::fsync(directory.get()) != 0) {
        logEvent("{}: changed, but a power cut may undo that: {}", changed,
                 ostrel::errorText(errno));
    }
}

std::size_t sizeOfRegularFile(const Descriptor& file, const std::string& name, std::size_t limit)
{
    struct stat status {
    };
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw std::runtime_error(name + " is not a regular file");
    }
    if (static_cast<std::uintmax_t>(status.st_size) > limit) {
        throw std::runtime_error(fmt::format("{} has more than {} bytes", name, limit));
    }
    return static_cast<std::size_t>(status.st_size);
}

// A disk that fails is not the end of the file: who takes a part for the whole
// gives up the rest.
std::string readUpTo(const Descriptor& file, const std::string& name, std::size_t limit)
{
    std::string text(limit, '\0');
    std::size_t length = 0;
    ssize_t count = 0;
    while ((count = ::read(file.get(), &text[length], limit - length)) > 0) {
        length += static_cast<std::size_t>(count);
    }
    if (count < 0) {
        failSystemCall("read", name);
    }
    text.resize(length);
    return text;
}

bool holds(const std::string& path, const std::string& text)
{
    try {
        return readOwnFile(path) == text;
    } catch (const std::runtime_error&) {
        return false;
    }
}

} // namespace

void failSystemCall(const std::string& attempt, const std::string& path)
{
    throw std::runtime_error(
        fmt::format("cannot {} {}: {}", attempt, path, ostrel::errorText(errno)));
}

// What has them already is not touched: the time of its last change tells when a
// request was made. While the group changes neither has what the other had.
void setAccess(const Descriptor& file, const std::string& path, const Access& access)
{
    struct stat status {
    };
    if (::fstat(file.get(), &status) != 0) {
        failSystemCall("look at", path);
    }
    mode_t mode = status.st_mode & allModeBits;
    if (status.st_gid != access.group) {
        setMode(file, path, mode, (mode & access.mode) | (access.mode & S_ISVTX));
        if (::fchown(file.get(), sameUser, access.group) != 0) {
            failSystemCall("change the group of", path);
        }
    }
    setMode(file, path, mode, access.mode);
}

bool isFifo(const Descriptor& file)
{
    struct stat status {
    };
    return ::fstat(file.get(), &status) == 0 && S_ISFIFO(status.st_mode);
}

short eventsOf(const Descriptor& file, short events)
{
    pollfd entry{file.get(), events, 0};
    return ::poll(&entry, 1, 0) == 1 ? entry.revents : short{0};
}

bool isOwn(const struct stat& status, mode_t type)
{
    return (status.st_mode & S_IFMT) == type && status.st_uid == ::geteuid() &&
           (type == S_IFDIR || status.st_nlink == 1);
}

void makeDirectory(const std::string& path, mode_t widest, Durability durability)
{
    const bool isNew = ::mkdir(path.c_str(), S_IRWXU) == 0;
    if (!isNew && errno != EEXIST) {
        failSystemCall("make the directory", path);
    }
    if (isNew && durability == Durability::Lasting) {
        syncIfOpen(Descriptor::open(directoryOf(path), O_RDONLY | O_DIRECTORY), path);
    }
    const Descriptor directory = openOrFail(path, O_RDONLY | O_DIRECTORY);
    struct stat status {
    };
    if (::fstat(directory.get(), &status) != 0 || !isOwn(status, S_IFDIR)) {
        throw std::runtime_error(path + " is not the daemon's own");
    }
    mode_t mode = status.st_mode & allModeBits;
    setMode(directory, path, mode, (mode & widest) | (widest & S_ISVTX));
}

void setDirectoryAccess(const std::string& path, const Access& access)
{
    setAccess(openOrFail(path, O_RDONLY | O_DIRECTORY), path, access);
}

Replacer::Replacer(std::string scratchDirectory, gid_t group, Durability durability)
    : m_scratch(std::move(scratchDirectory) + "/.new"), m_group(group), m_durability(durability)
{
}

// Written where it was made: no name of it is trusted in between.
void Replacer::replace(const std::string& path, const std::string& text, mode_t mode) const
{
    removeScratch();
    try {
        const Descriptor file = openOrFail(m_scratch, O_WRONLY | O_CREAT | O_EXCL, ownerOnly);
        if (!writeAll(file, text)) {
            failSystemCall("write", m_scratch);
        }
        setAccess(file, m_scratch, {m_group, mode});
        putInPlace(file, path);
    } catch (...) {
        // It may take the room that is missing.
        ::unlink(m_scratch.c_str());
        throw;
    }
}

void Replacer::putInPlace(const Descriptor& file, const std::string& path) const
{
    if (m_durability == Durability::Lasting) {
        sync(file, m_scratch);
    }
    const Descriptor directory = directoryToSync(path);
    if (::rename(m_scratch.c_str(), path.c_str()) != 0) {
        failSystemCall("replace", path);
    }
    syncIfOpen(directory, path);
}

void Replacer::update(const std::string& path, const std::string& text, mode_t mode) const
{
    if (holds(path, text)) {
        share(path, mode);
    } else {
        replace(path, text, mode);
    }
}

void Replacer::share(const std::string& path, mode_t mode) const
{
    const Descriptor file = Descriptor::open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (file.isOpen()) {
        setAccess(file, path, {m_group, mode});
    } else if (errno != ENOENT) {
        failSystemCall("open", path);
    }
}

void Replacer::remove(const std::string& path) const
{
    const Descriptor directory = directoryToSync(path);
    if (::unlink(path.c_str()) == 0) {
        syncIfOpen(directory, path);
    } else if (errno != ENOENT) {
        failSystemCall("remove", path);
    }
}

void Replacer::removeScratch() const
{
    if (::unlink(m_scratch.c_str()) != 0 && errno != ENOENT) {
        failSystemCall("remove", m_scratch);
    }
}

// Opened before anything is changed: then nothing but the disk itself can fail after.
Descriptor Replacer::directoryToSync(const std::string& path) const
{
    return m_durability == Durability::Lasting
               ? openOrFail(directoryOf(path), O_RDONLY | O_DIRECTORY)
               : Descriptor();
}

std::string readRegularFile(const std::string& directory, const std::string& name,
                            std::size_t limit)
{
    const Descriptor parent = openOrFail(directory, O_RDONLY | O_DIRECTORY);
    // Not blocking: the name may stand for a FIFO that nobody writes.
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const Descriptor file(::openat(parent.get(), name.c_str(), flags));
    if (!file.isOpen()) {
        failSystemCall("open", directory + '/' + name);
    }
    return readUpTo(file, name, sizeOfRegularFile(file, name, limit));
}

std::string readOwnFile(const std::string& path, std::size_t limit)
{
    const std::size_t slash = path.rfind('/');
    return readRegularFile(path.substr(0, slash), path.substr(slash + 1), limit);
}

} // namespace ostreld
