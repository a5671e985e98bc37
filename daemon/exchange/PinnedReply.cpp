#include "exchange/PinnedReply.h"

#include "base/PipeFiles.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

struct stat statusOf(const Descriptor& file)
{
    struct stat status {
    };
    ::fstat(file.get(), &status);
    return status;
}

bool isSame(const struct stat& one, const struct stat& other)
{
    return one.st_ino == other.st_ino && one.st_dev == other.st_dev;
}

} // namespace

PinnedReply PinnedReply::pin(const std::string& path)
{
    PinnedReply reply;
    reply.m_file = Descriptor::open(path, O_PATH | O_NOFOLLOW);
    if (!reply.m_file.isOpen()) {
        return reply;
    }
    const struct stat status = statusOf(reply.m_file);
    if (!S_ISFIFO(status.st_mode) || status.st_nlink != 1) {
        reply.m_file.close();
        errno = status.st_nlink == 0 ? ENOENT : ENXIO;
    }
    reply.m_owner = status.st_uid;
    return reply;
}

bool PinnedReply::isLinked() const
{
    return isPinned() && statusOf(m_file).st_nlink == 1;
}

bool PinnedReply::isAt(const std::string& path) const
{
    struct stat named {
    };
    return isPinned() && ::lstat(path.c_str(), &named) == 0 && isSame(statusOf(m_file), named);
}

bool PinnedReply::isSameAs(const PinnedReply& other) const
{
    return isPinned() && other.isPinned() && isSame(statusOf(m_file), statusOf(other.m_file));
}

Descriptor PinnedReply::open(int flags) const
{
    return Descriptor::open(path(), flags | O_NONBLOCK);
}

std::string PinnedReply::path() const
{
    return pathOf(m_file);
}

} // namespace ostreld
