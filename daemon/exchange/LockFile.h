#pragma once

#include "tools/Descriptor.h"

#include <string>

struct inotify_event;

namespace ostreld
{

/// The file whose lock a client holds during its call. It stays when the daemon
/// ends. For one thread.
class LockFile
{
public:
    /// Makes it, opens it, and has `notices`, an inotify descriptor, tell when a
    /// client closes it.
    LockFile(std::string path, const ostrel::Descriptor& notices);

    /// Lets `group` open it.
    void shareWith(gid_t group) const;

    /// Whether `event` tells that a client closed it.
    bool isClosing(const inotify_event& event) const;

    /// Makes clients that come now wait; false while one has the file open.
    bool makeClientsWait() const;

    /// Makes clients that come now fail; false while one has the lock.
    bool makeClientsFail() const;

    /// Ends either.
    void letClientsIn() const;

private:
    const std::string m_path;
    ostrel::Descriptor m_file;
    int m_watch = -1;
};

} // namespace ostreld
