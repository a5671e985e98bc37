#include "exchange/LockFile.h"

#include "base/Files.h"
#include "base/PipeFiles.h"

#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>

namespace ostreld
{

using ostrel::Descriptor;

LockFile::LockFile(std::string path, const Descriptor& notices) : m_path(std::move(path))
{
    removeSetAside(m_path);
    removeUnlessOwn(m_path, S_IFREG);
    constexpr int flags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK;
    m_file = requireOpen(Descriptor::open(m_path, flags, S_IRUSR | S_IWUSR), "open", m_path);
    m_watch = ::inotify_add_watch(notices.get(), m_path.c_str(), IN_CLOSE_WRITE);
    if (m_watch == -1) {
        failSystemCall("watch", m_path);
    }
}

void LockFile::shareWith(gid_t group) const
{
    setAccess(m_file, m_path, {group, groupWritesMode});
}

bool LockFile::isClosing(const inotify_event& event) const
{
    return event.wd == m_watch;
}

// A lease is given while nobody has the file open for writing, and makes those
// who open it then wait.
bool LockFile::makeClientsWait() const
{
    return ::fcntl(m_file.get(), F_SETLEASE, F_RDLCK) == 0;
}

bool LockFile::makeClientsFail() const
{
    return ::flock(m_file.get(), LOCK_EX | LOCK_NB) == 0;
}

void LockFile::letClientsIn() const
{
    ::fcntl(m_file.get(), F_SETLEASE, F_UNLCK);
    ::flock(m_file.get(), LOCK_UN);
}

} // namespace ostreld
