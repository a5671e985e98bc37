#include "protocol/CommandFifo.h"

#include <ostrelApi/ReturnCode.h>

#include "errors/Fail.h"
#include "tools/ErrorText.h"
#include "tools/PinnedFile.h"
#include "tools/Trace.h"
#include "tools/UserDatabase.h"

#include <cerrno>

#include <sys/stat.h>

namespace ostrelApi
{

namespace
{

using ostrel::Descriptor;
using ostrel::PinnedFile;

bool isTrusted(const PinnedFile& file, const ServicePipes& pipes)
{
    struct stat directory {
    };
    const std::string parent = pipes.in.substr(0, pipes.in.rfind('/'));
    return !file.isLink() && ::stat(parent.c_str(), &directory) == 0 &&
           isTrustedOwner(file.owner(), directory.st_uid, pipes.daemonUser);
}

Descriptor openTrusted(const ServicePipes& pipes)
{
    // Pinned first, because opening a foreign FIFO would wait for its reader.
    const PinnedFile file(pipes.in);
    if (!file.isOpen()) {
        return {};
    }
    if (!isTrusted(file, pipes)) {
        errno = EACCES;
        return {};
    }
    return file.open(O_WRONLY);
}

} // namespace

bool isTrustedOwner(uid_t owner, uid_t directoryOwner, std::string (*daemonUser)())
{
    if (owner == 0 || owner == directoryOwner) {
        return true;
    }
    const ostrel::UserEntry user = ostrel::userByName(daemonUser ? daemonUser() : "");
    return user.isFound() && user->pw_uid == owner;
}

Descriptor openCommandFifo(const ServicePipes& pipes)
{
    Descriptor fifo = openTrusted(pipes);
    if (fifo.isOpen()) {
        return fifo;
    }
    const int error = errno;
    const bool isOff = error == ENOENT;
    if (isOff) {
        // Intended: other words than for the lock file, and a trailing blank.
        ostrel::trace("Failed to open the file '", pipes.in,
                      "'. Looks like 'ostreld' service is not running. ");
    } else {
        ostrel::trace("Error: Failed to open FIFO IN file: ", pipes.in, ": ",
                      ostrel::errorText(error));
    }
    fail(isOff ? DaemonOff : ActionFailed, "cannot open the command FIFO", pipes.in, error);
}

} // namespace ostrelApi
