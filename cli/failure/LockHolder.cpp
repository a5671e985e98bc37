#include "failure/LockHolder.h"

#include <fmt/format.h>

#include <fstream>
#include <optional>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace ostrelctl
{

namespace
{

// As /proc/locks names it.
std::optional<std::string> kernelNameOf(const std::string& path)
{
    struct stat status {
    };
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return fmt::format("{:02x}:{:02x}:{}", major(status.st_dev), minor(status.st_dev),
                       status.st_ino);
}

std::string processName(const std::string& pid)
{
    std::ifstream file("/proc/" + pid + "/comm");
    std::string name;
    std::getline(file, name);
    return name.empty() ? "process " + pid : fmt::format("process {} ({})", pid, name);
}

} // namespace

std::string lockHolderOf(const std::string& path)
{
    const auto wanted = kernelNameOf(path);
    std::ifstream locks("/proc/locks");
    // 1: FLOCK  ADVISORY  WRITE 4711 08:01:131 0 EOF
    std::string number, kind, manner, access, pid, file, start, end;
    while (wanted && locks >> number >> kind) {
        if (kind == "->") {
            // One that waits.
            std::getline(locks, end);
            continue;
        }
        locks >> manner >> access >> pid >> file >> start >> end;
        if (kind == "FLOCK" && file == *wanted) {
            return processName(pid);
        }
    }
    return {};
}

} // namespace ostrelctl
