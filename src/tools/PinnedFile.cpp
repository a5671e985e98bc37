#include "tools/PinnedFile.h"

#include <cstdio>

namespace ostrel
{

namespace
{

/// A path that leads to an open file, also one that is open with O_PATH.
struct PathOf {
    explicit PathOf(const Descriptor& file)
    {
        std::snprintf(text, sizeof text, "/proc/self/fd/%d", file.get());
    }
    char text[32];
};

} // namespace

PinnedFile::PinnedFile(const std::string& path)
    : m_file(Descriptor::open(path, O_PATH | O_NOFOLLOW))
{
    struct stat status {
    };
    m_error = isOpen() ? 0 : errno;
    if (isOpen() && ::fstat(m_file.get(), &status) == 0) {
        m_mode = status.st_mode;
        m_owner = status.st_uid;
        m_names = status.st_nlink;
    }
}

PinnedFile PinnedFile::own(const std::string& path)
{
    PinnedFile file(path);
    const bool isKnown = S_ISREG(file.m_mode) || S_ISFIFO(file.m_mode);
    if (file.isOpen() && !(isKnown && file.m_owner == ::geteuid() && file.m_names == 1)) {
        file.m_file.close();
        file.m_error = EPERM;
    }
    return file;
}

Descriptor PinnedFile::open(int flags) const
{
    return Descriptor(::open(PathOf(m_file).text, flags | O_CLOEXEC));
}

bool PinnedFile::changeGroup(gid_t gid) const
{
    errno = m_error;
    return isOpen() &&
           ::fchownat(m_file.get(), "", static_cast<uid_t>(-1), gid, AT_EMPTY_PATH) == 0;
}

bool PinnedFile::changeMode(mode_t mode) const
{
    errno = m_error;
    return isOpen() && ::chmod(PathOf(m_file).text, mode) == 0;
}

} // namespace ostrel
