#include "exchange/LockFile.h"

#include "base/Files.h"
#include "base/PipeFiles.h"

#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

LockFile::LockFile(std::string path, Notices& notices)
    : m_path(std::move(path)), m_file(openOwn(m_path, S_IFREG, O_RDONLY | O_NONBLOCK))
{
    // Clients open it for writing; without this, what they wrote would stay in memory.
    [[maybe_unused]] const int emptied = ::truncate(pathOf(m_file).c_str(), 0);
    notices.watchLock(pathOf(m_file));
}

void LockFile::shareWith(gid_t group) const
{
    setAccess(m_file, m_path, {group, groupWritesMode});
}

// The kernel grants a lease if nobody has the file open for writing. A process that then
// opens it waits until the lease ends.
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
