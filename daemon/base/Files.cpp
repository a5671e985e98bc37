#include "base/Files.h"

#include "base/Log.h"

#include "tools/ErrorText.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

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
constexpr char scratchName[] = ".new";

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

// Readers may have seen the change already, so a failed sync does not undo it.
void syncDirectory(const Descriptor& directory, const std::string& path,
                   const std::string& changed) noexcept
{
    if (directory.isOpen() && ::fsync(directory.get()) != 0) {
        char reason[128] = {};
        logEvent("{}/{}: changed, but a power cut may undo that: {}", path, changed,
                 ::strerror_r(errno, reason, sizeof reason));
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

// `text` has the size of the file. A read error is not the end of the file: a part must not
// count as the whole.
template <class Text>
Text readInto(Text text, const Descriptor& file, const std::string& name)
{
    const std::size_t limit = text.size();
    std::size_t length = 0;
    ssize_t count = 0;
    while ((count = ::read(file.get(), text.data() + length, limit - length)) > 0) {
        length += static_cast<std::size_t>(count);
    }
    if (count < 0) {
        failSystemCall("read", name);
    }
    text.resize(length);
    return text;
}

// Does not block: the name may belong to a FIFO that has no writer.
Descriptor openAt(const Descriptor& directory, const std::string& name, int flags)
{
    constexpr int always = O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    return Descriptor(::openat(directory.get(), name.c_str(), flags | always, ownerOnly));
}

template <class Buffer>
auto readAt(const Descriptor& directory, const std::string& path, const std::string& name,
            std::size_t limit, Buffer bufferOf)
{
    const Descriptor file = openAt(directory, name, O_RDONLY);
    if (!file.isOpen()) {
        failSystemCall("open", path + '/' + name);
    }
    return readInto(bufferOf(sizeOfRegularFile(file, name, limit)), file, name);
}

std::string textOf(std::size_t size)
{
    return std::string(size, '\0');
}

SecretText secretOf(std::size_t size)
{
    return SecretText(size);
}

FileStamp stampOfOpen(const Descriptor& file)
{
    struct stat status {
    };
    return ::fstat(file.get(), &status) == 0 ? stampOf(status) : FileStamp();
}

bool isSame(const timespec& left, const timespec& right)
{
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

} // namespace

void failSystemCall(const std::string& attempt, const std::string& path)
{
    throw std::runtime_error(
        fmt::format("cannot {} {}: {}", attempt, path, ostrel::errorText(errno)));
}

// Does not change a file that has them already, because ctime is the time of a request. While
// the group changes, neither group has the rights of the other.
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
    if (isNew && durability == Durability::Persistent) {
        const std::string parent = directoryOf(path);
        syncDirectory(Descriptor::open(parent, O_RDONLY | O_DIRECTORY), parent,
                      path.substr(parent.size() + 1));
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

bool operator==(const FileStamp& left, const FileStamp& right)
{
    return left.inode == right.inode && left.size == right.size &&
           isSame(left.modified, right.modified) && isSame(left.changed, right.changed);
}

FileStamp stampOf(const struct stat& status)
{
    return {status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

DirectoryNames::DirectoryNames(int parent, const std::string& name)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const int directory = ::openat(parent, name.c_str(), flags);
    m_entries.reset(directory != -1 ? ::fdopendir(directory) : nullptr);
    if (directory != -1 && !isOpen()) {
        ::close(directory);
    }
}

const char* DirectoryNames::next()
{
    errno = 0;
    while (const dirent* entry = ::readdir(m_entries.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            return entry->d_name;
        }
    }
    // readdir() fails with ENOENT for a directory that has been removed.
    if (errno != 0 && errno != ENOENT) {
        failSystemCall("read", "a directory");
    }
    return nullptr;
}

Directory::Directory(std::string path, Durability durability)
    : m_path(std::move(path)), m_durability(durability)
{
    while (m_path.size() > 1 && m_path.back() == '/') {
        m_path.pop_back();
    }
}

void Directory::make(const Access& access)
{
    makeDirectory(m_path, access.mode, m_durability);
    m_directory = openOrFail(m_path, O_RDONLY | O_DIRECTORY);
    setAccess(m_directory, m_path, access);
    unlink(scratchName);
}

DirectoryNames Directory::names() const
{
    DirectoryNames names(m_directory.get(), ".");
    if (!names.isOpen()) {
        failSystemCall("read", m_path);
    }
    return names;
}

// A file with a name that is too long does not exist.
std::optional<struct stat> Directory::status(const std::string& name) const
{
    struct stat status {
    };
    if (::fstatat(m_directory.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        return status;
    }
    if (errno != ENOENT && errno != ENAMETOOLONG) {
        failSystemCall("look at", pathOf(name));
    }
    return std::nullopt;
}

std::string Directory::read(const std::string& name, std::size_t limit) const
{
    return readAt(m_directory, m_path, name, limit, textOf);
}

std::string Directory::readIfThere(const std::string& name) const
{
    const auto found = status(name);
    return found && S_ISREG(found->st_mode) ? read(name) : std::string();
}

SecretText Directory::readSecretIfThere(const std::string& name) const
{
    const auto found = status(name);
    return found && S_ISREG(found->st_mode)
               ? readAt(m_directory, m_path, name, largestOwnFile, secretOf)
               : SecretText();
}

Descriptor Directory::open(const std::string& name, int flags) const
{
    Descriptor file = openAt(m_directory, name, flags);
    if (!file.isOpen()) {
        failSystemCall("open", pathOf(name));
    }
    return file;
}

Descriptor Directory::openNew(const std::string& name) const
{
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL;
    Descriptor file = openAt(m_directory, name, flags);
    if (!file.isOpen() && errno == EEXIST) {
        unlink(name);
        file = openAt(m_directory, name, flags);
    }
    if (!file.isOpen()) {
        failSystemCall("make", pathOf(name));
    }
    return file;
}

FileStamp Directory::replace(const std::string& name, std::string_view text, const Access& access,
                             const Directory& scratch) const
{
    return putInPlace(scratch.openNew(scratchName), name, text, access, scratch);
}

// After the rename nothing fails any more.
FileStamp Directory::putInPlace(const Descriptor& file, const std::string& name,
                                std::string_view text, const Access& access,
                                const Directory& scratch) const
{
    try {
        if (!writeAll(file, text)) {
            failSystemCall("write", pathOf(name));
        }
        setAccess(file, pathOf(name), access);
        if (m_durability == Durability::Persistent && ::fsync(file.get()) != 0) {
            failSystemCall("write to disk", pathOf(name));
        }
        if (::renameat(scratch.m_directory.get(), scratchName, m_directory.get(), name.c_str())) {
            failSystemCall("replace", pathOf(name));
        }
    } catch (...) {
        // On a full disk, the new file may take the room that is missing.
        ::unlinkat(scratch.m_directory.get(), scratchName, 0);
        throw;
    }
    sync(name);
    return stampOfOpen(file);
}

FileStamp Directory::update(const std::string& name, std::string_view text, const Access& access,
                            const Directory& scratch) const
{
    const FileStamp stamp = share(name, access);
    const bool isSameSize = stamp.inode != 0 && stamp.size == static_cast<off_t>(text.size());
    return isSameSize && readIfThere(name) == text ? stamp : replace(name, text, access, scratch);
}

// Writes into room that is allocated already, so nobody else can take it meanwhile.
void Directory::replaceInRoomOf(const std::string& spare, const std::string& name,
                                std::string_view text, const Access& access) const
{
    if (::renameat(m_directory.get(), spare.c_str(), m_directory.get(), scratchName) != 0) {
        failSystemCall("take the room of", pathOf(spare));
    }
    const Descriptor file = open(scratchName, O_WRONLY);
    if (::ftruncate(file.get(), static_cast<off_t>(text.size())) != 0) {
        failSystemCall("shorten", pathOf(spare));
    }
    putInPlace(file, name, text, access, *this);
}

void Directory::create(const std::string& name, const Access& access) const
{
    setAccess(openNew(name), pathOf(name), access);
}

FileStamp Directory::share(const std::string& name, const Access& access) const
{
    const auto found = status(name);
    if (!found || !S_ISREG(found->st_mode)) {
        return {};
    }
    if (found->st_gid == access.group && (found->st_mode & allModeBits) == access.mode) {
        return stampOf(*found);
    }
    const Descriptor file = open(name, O_RDONLY);
    setAccess(file, pathOf(name), access);
    return stampOfOpen(file);
}

void Directory::rename(const std::string& from, const std::string& to) const
{
    const int directory = m_directory.get();
    if (::renameat(directory, from.c_str(), directory, to.c_str()) != 0 && errno != ENOENT) {
        failSystemCall("rename", pathOf(from));
    }
}

void Directory::unlink(const std::string& name) const
{
    if (::unlinkat(m_directory.get(), name.c_str(), 0) != 0 && errno != ENOENT) {
        failSystemCall("remove", pathOf(name));
    }
}

void Directory::remove(const std::string& name) const
{
    unlink(name);
    sync(name);
}

void Directory::sync(const std::string& changed) const noexcept
{
    if (m_durability == Durability::Persistent) {
        syncDirectory(m_directory, m_path, changed);
    }
}

void removeEach(std::initializer_list<NamedFile> files)
{
    std::string failure;
    for (const NamedFile& file : files) {
        try {
            file.directory->unlink(file.name);
        } catch (const std::runtime_error& caught) {
            failure = caught.what();
        }
    }
    if (!failure.empty()) {
        throw std::runtime_error(failure);
    }
}

std::string readRegularFile(const std::string& directory, const std::string& name,
                            std::size_t limit)
{
    return readAt(openOrFail(directory, O_RDONLY | O_DIRECTORY), directory, name, limit, textOf);
}

} // namespace ostreld
