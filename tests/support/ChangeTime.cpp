#include "support/ChangeTime.h"

#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>

namespace support
{

namespace
{

std::string changedPath;
std::time_t changeTime = 0;

} // namespace

ChangeTime::ChangeTime(const std::string& path, std::int64_t seconds)
{
    changedPath = path;
    changeTime = static_cast<std::time_t>(seconds);
}

ChangeTime::~ChangeTime()
{
    changedPath.clear();
}

} // namespace support

// <sys/stat.h> renames this function to match the widths of time_t and off_t.
extern "C" int stat(const char* path, struct stat* status) noexcept
{
    const int result = ::fstatat(AT_FDCWD, path, status, 0);
    if (result == 0 && path == support::changedPath) {
        status->st_ctime = support::changeTime;
    }
    return result;
}
