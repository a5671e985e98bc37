#include "PipeFiles.h"

#include "Files.h"
#include "Log.h"

#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

Descriptor requireOpen(Descriptor descriptor, const std::string& attempt, const std::string& what)
{
    if (!descriptor.isOpen()) {
        failSystemCall(attempt, what);
    }
    return descriptor;
}

void removeUnlessOwn(const std::string& path, mode_t type)
{
    struct stat status {
    };
    const bool isThere = ::lstat(path.c_str(), &status) == 0;
    if (isThere && ((status.st_mode & S_IFMT) != type || status.st_uid != ::geteuid())) {
        logEvent("{} is not the daemon's own: removed", path);
        ::unlink(path.c_str());
    }
}

} // namespace ostreld
