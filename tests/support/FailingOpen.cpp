#include "support/FailingOpen.h"

#include <cstdarg>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace support
{

namespace
{

std::string failingSuffix;
std::string failedPath;
void (*failure)() = nullptr;
bool leavesFile = true;

bool isFailing(const std::string& path)
{
    return failure != nullptr && path.size() > failingSuffix.size() &&
           path.compare(path.size() - failingSuffix.size(), std::string::npos, failingSuffix) == 0;
}

void failToOpen(const std::string& path, int fd)
{
    failedPath = path;
    ::close(fd);
    if (!leavesFile) {
        std::remove(path.c_str());
    }
    failure();
}

} // namespace

FailingOpen::FailingOpen(const std::string& suffix, void (*fail)(), File file)
{
    failingSuffix = suffix;
    failure = fail;
    leavesFile = file == LeaveFile;
}

FailingOpen::~FailingOpen()
{
    failure = nullptr;
}

std::string FailingOpen::path() const
{
    return failedPath;
}

} // namespace support

// <fcntl.h> renames this function to match the width of off_t.
extern "C" int open(const char* path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = va_arg(arguments, mode_t);
    va_end(arguments);
    const int fd = ::openat(AT_FDCWD, path, flags, mode);
    if (support::isFailing(path)) {
        support::failToOpen(path, fd);
    }
    return fd;
}
