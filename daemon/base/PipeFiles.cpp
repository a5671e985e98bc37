#include "base/PipeFiles.h"

#include "base/Files.h"
#include "base/Log.h"

#include "tools/ErrorText.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

constexpr char asideMark[] = ".removed-";

// Another process may be filling the directory: renaming it frees its name at once. The
// rename replaces the empty directory.
std::string renamedAside(const std::string& path)
{
    std::string aside = path + asideMark + "XXXXXX";
    if (::mkdtemp(aside.data()) == nullptr) {
        return {};
    }
    if (::rename(path.c_str(), aside.c_str()) == 0) {
        return aside;
    }
    const int error = errno;
    ::rmdir(aside.c_str());
    errno = error;
    return {};
}

/// Removes a directory that another process may still be filling. Needs two descriptors at
/// any depth, and takes a bounded number of steps.
class TreeRemoval
{
public:
    explicit TreeRemoval(const std::string& path) : m_path(path), m_top(AT_FDCWD, path) {}

    void run()
    {
        bool hasProgress = m_top.isOpen();
        while (hasProgress && m_stepsLeft > 0 && ::rmdir(m_path.c_str()) != 0) {
            hasProgress = forEach(m_top, [this](const char* name) { return isFlattened(name); });
        }
        if (isThere(m_path) && ::rmdir(m_path.c_str()) != 0) {
            logEvent("{} cannot be removed completely: {}", m_path, ostrel::errorText(errno));
        }
    }

private:
    // Whether `work` returns true for one of the names.
    template <class Work>
    bool forEach(DirectoryNames& names, Work work) const
    {
        bool hasProgress = false;
        names.rewind();
        while (const char* name = m_stepsLeft > 0 ? names.next() : nullptr) {
            hasProgress |= work(name);
        }
        return hasProgress;
    }

    bool isRemoved(const DirectoryNames& from, const char* name)
    {
        const bool isInTime = m_stepsLeft > 0;
        m_stepsLeft -= isInTime ? 1 : 0;
        return isInTime && (::unlinkat(from.directory(), name, 0) == 0 ||
                            ::unlinkat(from.directory(), name, AT_REMOVEDIR) == 0);
    }

    // Moves the contents of a directory one level up, so that the depth needs no descriptors.
    bool isFlattened(const char* name)
    {
        if (isRemoved(m_top, name)) {
            return true;
        }
        DirectoryNames below(m_top.directory(), name);
        const bool hasProgress = below.isOpen() && forEach(below, [&](const char* entry) {
                                     return isRemoved(below, entry) || isHandedUp(below, entry);
                                 });
        return isRemoved(m_top, name) || hasProgress;
    }

    bool isHandedUp(const DirectoryNames& below, const char* entry)
    {
        const std::string name = ".up" + std::to_string(m_stepsLeft);
        return m_stepsLeft > 0 &&
               ::renameat(below.directory(), entry, m_top.directory(), name.c_str()) == 0;
    }

    const std::string& m_path;
    DirectoryNames m_top;
    std::size_t m_stepsLeft = 5000;
};

void removeTree(const std::string& path)
{
    if (::unlink(path.c_str()) != 0) {
        orLog(path, [&] { TreeRemoval(path).run(); });
    }
}

// Somebody can take the name again and again as soon as it is free. Nobody can guess the
// other name, and the rename replaces what is there, but for a directory.
void makeOwn(const std::string& path, mode_t type)
{
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    std::random_device random;
    const std::string made = path + ".new-" + std::to_string(random());
    if (::mknod(made.c_str(), type | ownerOnly, 0) != 0) {
        if (errno != EEXIST) {
            failSystemCall("make", path);
        }
    } else if (::rename(made.c_str(), path.c_str()) != 0) {
        ::unlink(made.c_str());
    }
}

} // namespace

Descriptor requireOpen(Descriptor descriptor, const std::string& attempt, const std::string& what)
{
    if (!descriptor.isOpen()) {
        failSystemCall(attempt, what);
    }
    return descriptor;
}

bool isShortage(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

std::string pathOf(const Descriptor& file)
{
    return "/proc/self/fd/" + std::to_string(file.get());
}

bool isThere(const std::string& path)
{
    struct stat status {
    };
    return ::lstat(path.c_str(), &status) == 0;
}

bool freeName(const std::string& path)
{
    if (::unlink(path.c_str()) == 0 || errno == ENOENT) {
        return true;
    }
    const std::string aside = renamedAside(path);
    if (aside.empty()) {
        logEvent("{} cannot be removed: {}", path, ostrel::errorText(errno));
        return false;
    }
    removeTree(aside);
    return true;
}

void removeSetAside(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string start = path.substr(slash + 1) + asideMark;
    DirectoryNames names(AT_FDCWD, path.substr(0, slash));
    while (const char* name = names.isOpen() ? names.next() : nullptr) {
        if (std::string_view(name).substr(0, start.size()) == start) {
            removeTree(path.substr(0, slash + 1) + name);
        }
    }
}

void removeUnlessOwn(const std::string& path, mode_t type)
{
    struct stat status {
    };
    const bool isThere = ::lstat(path.c_str(), &status) == 0;
    if (isThere && !isOwn(status, type) && freeName(path)) {
        logEvent("{} is not the daemon's own: removed", path);
    }
}

bool isOwn(const Descriptor& file, mode_t type)
{
    struct stat status {
    };
    return ::fstat(file.get(), &status) == 0 && isOwn(status, type);
}

Descriptor openOwn(const std::string& path, mode_t type, int flags)
{
    constexpr int attempts = 10;
    for (int i = 0; i < attempts; ++i) {
        removeUnlessOwn(path, type);
        Descriptor file = Descriptor::open(path, flags | O_NOFOLLOW | O_NONBLOCK);
        if (file.isOpen() && isOwn(file, type)) {
            return file;
        }
        if (!file.isOpen() && isShortage(errno)) {
            failSystemCall("open", path);
        }
        makeOwn(path, type);
    }
    throw std::runtime_error(path + " is not the daemon's own");
}

} // namespace ostreld
