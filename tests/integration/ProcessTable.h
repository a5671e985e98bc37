#pragma once

// What /proc shows of the daemon's processes.

#include "support/TextFiles.h"
#include "tools/Descriptor.h"

#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <poll.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace daemon_case
{

inline std::string procOf(pid_t pid, const std::string& name)
{
    return "/proc/" + std::to_string(pid) + '/' + name;
}

/// The children of a process with one thread.
inline std::vector<pid_t> childrenOf(pid_t pid)
{
    std::istringstream text(
        support::readText(procOf(pid, "task/") + std::to_string(pid) + "/children"));
    std::vector<pid_t> children;
    for (pid_t child = 0; text >> child;) {
        children.push_back(child);
    }
    return children;
}

/// The value of a line of /proc/PID/status, "State" for example.
inline std::string statusOf(pid_t pid, const std::string& key)
{
    std::istringstream lines(support::readText(procOf(pid, "status")));
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, key.size() + 2, key + ":\t") == 0) {
            return line.substr(key.size() + 2);
        }
    }
    return {};
}

/// Reads 0 to 2 and what the process opened, as the files that they stand for.
inline std::vector<std::string> filesOf(pid_t pid)
{
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(procOf(pid, "fd"))) {
        std::error_code ignored;
        files.push_back(std::filesystem::read_symlink(entry.path(), ignored).string());
    }
    return files;
}

/// A process of somebody else, whose end can be awaited.
class WatchedProcess
{
public:
    explicit WatchedProcess(pid_t pid)
        : m_handle(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0U)))
    {
        if (!m_handle.isOpen()) {
            throw std::runtime_error("no process " + std::to_string(pid));
        }
    }

    /// Whether it ends within 20 s.
    bool ends() const
    {
        constexpr int patience = 20000;
        pollfd entry{m_handle.get(), POLLIN, 0};
        return ::poll(&entry, 1, patience) == 1;
    }

private:
    ostrel::Descriptor m_handle;
};

} // namespace daemon_case
