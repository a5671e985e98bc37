#pragma once

#include "exchange/Notices.h"

#include "tools/Descriptor.h"

#include <string>

namespace ostreld
{

/// The file that a client locks during its call. It stays when the daemon ends, so a client
/// that is stopped in its call also excludes others under the next daemon.
class LockFile
{
public:
    /// Creates it, empties it and opens it, and has `notices` report when a client closes it.
    LockFile(std::string path, Notices& notices);

    /// Lets `group` open it.
    void shareWith(gid_t group) const;

    /// Makes new clients wait. Returns false if a client has the file open.
    [[nodiscard]] bool makeClientsWait() const;

    /// Makes new clients fail. Returns false if a client holds the lock.
    [[nodiscard]] bool makeClientsFail() const;

    /// Ends both.
    void letClientsIn() const;

private:
    const std::string m_path;
    const ostrel::Descriptor m_file;
};

} // namespace ostreld
