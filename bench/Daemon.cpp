#include "bench/Daemon.h"

#include <csignal>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench
{

namespace
{

[[noreturn]] void become(const char* program, int ready, const std::string& logPath)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int log = ::open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    ::dup2(log, STDERR_FILENO);
    const std::string descriptor = std::to_string(ready);
    ::execl(program, program, "--ready-fd", descriptor.c_str(), nullptr);
    ::_exit(1);
}

} // namespace

Daemon::Daemon(const Device& device) : m_logPath(device.directory() + "/ostreld.log")
{
    int ends[2];
    if (::pipe(ends) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    m_pid = ::fork();
    if (m_pid == 0) {
        ::close(ends[0]);
        become(OSTRELD, ends[1], m_logPath);
    }
    ::close(ends[1]);
    char byte = '\0';
    const ssize_t count = ::read(ends[0], &byte, 1);
    ::close(ends[0]);
    if (count != 1) {
        ::waitpid(m_pid, nullptr, 0);
        throw std::runtime_error("ostreld does not start:\n" + log());
    }
}

Daemon::~Daemon()
{
    ::kill(m_pid, SIGTERM);
    ::waitpid(m_pid, nullptr, 0);
}

pid_t Daemon::pidOf(const std::string& service) const
{
    const std::string own = std::to_string(m_pid);
    std::istringstream pids(textOfFile("/proc/" + own + "/task/" + own + "/children"));
    for (pid_t pid = 0; pids >> pid;) {
        // Each argument of a process ends with a NUL.
        const std::string words = textOfFile("/proc/" + std::to_string(pid) + "/cmdline");
        if (words.c_str() == "ostreld: " + service) {
            return pid;
        }
    }
    throw std::runtime_error("no process serves " + service);
}

} // namespace bench
