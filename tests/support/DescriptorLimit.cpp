#include "support/DescriptorLimit.h"

#include <cerrno>
#include <system_error>

#include <sys/resource.h>

namespace support
{

void limitDescriptors(pid_t pid, unsigned int end)
{
    rlimit limit{};
    if (::prlimit(pid, RLIMIT_NOFILE, nullptr, &limit) == 0) {
        limit.rlim_cur = end;
        if (::prlimit(pid, RLIMIT_NOFILE, &limit, nullptr) == 0) {
            return;
        }
    }
    throw std::system_error(errno, std::generic_category(), "limiting descriptors");
}

} // namespace support
