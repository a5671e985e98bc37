#include "support/DescriptorLimit.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include <sys/resource.h>

namespace support
{

namespace
{

constexpr int inheritedCount = 20;

void limitDescriptors(pid_t pid, rlim_t end)
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

} // namespace

InheritedDescriptors::InheritedDescriptors()
{
    for (int i = 0; i < inheritedCount; ++i) {
        m_descriptors.emplace_back(::open("/dev/null", O_RDONLY));
    }
}

void denyDescriptors(pid_t pid)
{
    const std::string directory = "/proc/" + std::to_string(pid) + "/fd/";
    unsigned int end = 0;
    while (std::filesystem::is_symlink(directory + std::to_string(end))) {
        ++end;
    }
    limitDescriptors(pid, end);
}

void allowDescriptors(pid_t pid)
{
    constexpr rlim_t plenty = 500;
    limitDescriptors(pid, plenty);
}

} // namespace support
