#include "base/Program.h"

#include "base/Spawning.h"

#include "tools/Descriptor.h"
#include "tools/ErrorText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// How the program starts: input empty, output into a pipe, a process group of
/// its own, no signal blocked or ignored.
class Spawn
{
public:
    explicit Spawn(int output)
    {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        // Before it runs: until then its copies keep open what the daemon closes.
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
        ::posix_spawnattr_init(&m_attributes);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK |
                                                      POSIX_SPAWN_SETSIGDEF);
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_attributes, &signals);
        // What the daemon itself ignores.
        sigaddset(&signals, SIGPIPE);
        sigaddset(&signals, SIGIO);
        ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
    }
    ~Spawn()
    {
        ::posix_spawnattr_destroy(&m_attributes);
        ::posix_spawn_file_actions_destroy(&m_actions);
    }
    Spawn(const Spawn&) = delete;
    Spawn& operator=(const Spawn&) = delete;

    pid_t start(const std::vector<std::string>& words) const
    {
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        pid_t pid = -1;
        const std::lock_guard<std::mutex> lock(spawning);
        const int error =
            ::posix_spawn(&pid, arguments[0], &m_actions, &m_attributes, arguments.data(), environ);
        if (error != 0) {
            throw std::runtime_error(
                fmt::format("cannot run {}: {}", words[0], ostrel::errorText(error)));
        }
        return pid;
    }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

bool awaitReadable(const Descriptor& descriptor, Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
    pollfd entry{descriptor.get(), POLLIN, 0};
    return left.count() > 0 && ::poll(&entry, 1, static_cast<int>(left.count())) > 0;
}

/// A running program; killed with its group and waited for at the latest when
/// the object goes.
class Running
{
public:
    explicit Running(pid_t pid)
        : m_pid(pid), m_end(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)))
    {
    }
    ~Running()
    {
        if (m_pid != -1) {
            ::kill(-m_pid, SIGKILL);
            wait();
        }
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    /// Whether it ended in time.
    bool awaitEnd(Clock::time_point deadline) const
    {
        return m_end.isOpen() ? awaitReadable(m_end, deadline) : lookForEnd(deadline);
    }

    int wait()
    {
        int status = 0;
        while (::waitpid(m_pid, &status, 0) == -1 && errno == EINTR) {
        }
        m_pid = -1;
        return status;
    }

private:
    bool hasEnded() const
    {
        siginfo_t info{};
        constexpr int flags = WEXITED | WNOHANG | WNOWAIT;
        return ::waitid(P_PID, static_cast<id_t>(m_pid), &info, flags) == 0 && info.si_pid != 0;
    }

    // Linux before 5.3 has no descriptor that tells of the end of a child.
    bool lookForEnd(Clock::time_point deadline) const
    {
        constexpr milliseconds longest{100};
        for (milliseconds pause{1}; !hasEnded(); pause = std::min(2 * pause, longest)) {
            if (Clock::now() >= deadline) {
                return false;
            }
            std::this_thread::sleep_for(pause);
        }
        return true;
    }

    pid_t m_pid;
    // Readable once the program has ended.
    Descriptor m_end;
};

void require(bool isFine, const std::string& program, const char* otherwise)
{
    if (!isFine) {
        throw std::runtime_error(program + otherwise);
    }
}

std::string readOutput(const Descriptor& output, const std::string& program,
                       Clock::time_point deadline)
{
    std::string text;
    char bytes[4096];
    ssize_t count = 1;
    while (count > 0) {
        require(awaitReadable(output, deadline), program, " takes too long");
        count = ::read(output.get(), bytes, sizeof bytes);
        text.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
        require(text.size() <= largestOutput, program, " prints too much");
    }
    return text;
}

} // namespace

std::string runProgram(const std::vector<std::string>& words, std::chrono::milliseconds patience)
{
    const Clock::time_point deadline = Clock::now() + patience;
    int ends[2] = {-1, -1};
    require(::pipe2(ends, O_CLOEXEC) == 0, words[0], ": no pipe for its output");
    const Descriptor output(ends[0]);
    Descriptor input(ends[1]);
    Running program(Spawn(input.get()).start(words));
    input.close();
    const std::string text = readOutput(output, words[0], deadline);
    require(program.awaitEnd(deadline), words[0], " takes too long");
    const int status = program.wait();
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0, words[0], " failed");
    return text;
}

} // namespace ostreld
