#include "base/Child.h"

#include "base/Log.h"

#include "tools/ErrorText.h"

#include <openssl/crypto.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

constexpr int outputDescriptor = 3;
constexpr int cannotRun = 127;

// Anybody who can write a program or its directory can decide what it does.
bool isTrusted(const std::string& path)
{
    struct stat status {
    };
    const bool isOwners =
        ::stat(path.c_str(), &status) == 0 && (status.st_uid == 0 || status.st_uid == ::geteuid());
    const bool isSticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
    return isOwners && (isSticky || (status.st_mode & (S_IWGRP | S_IWOTH)) == 0);
}

// Returns the path without links; throws if the program must not run.
std::string trustedProgram(const std::string& path)
{
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr),
                                                      &std::free);
    if (!real) {
        throw std::runtime_error("cannot run " + path + ": " + ostrel::errorText(errno));
    }
    const std::string program = real.get();
    if (!isTrusted(program) || !isTrusted(program.substr(0, program.rfind('/') + 1))) {
        throw std::runtime_error("cannot run " + path +
                                 ": others than root and the daemon's user can write it");
    }
    return program;
}

// Descriptors 0 to 2 stay open, so that none of the child's own files becomes its output.
void keepOnly(int output)
{
    ::dup2(output, outputDescriptor);
    ::closefrom(outputDescriptor + 1);
    ::fcntl(outputDescriptor, F_SETFD, FD_CLOEXEC);
}

void resetSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGPIPE, SIGIO}) {
        std::signal(signal, SIG_DFL);
    }
    ::sigprocmask(SIG_SETMASK, &signals, nullptr);
}

[[noreturn]] void execute(const std::string& program, std::vector<char*>& arguments)
{
    char path[] = "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";
    char* environment[] = {path, nullptr};
    const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::dup2(null, STDIN_FILENO);
    ::dup2(outputDescriptor, STDOUT_FILENO);
    ::execve(program.c_str(), arguments.data(), environment);
    ::_exit(cannotRun);
}

// The memory is freed with the process, but a core dump or the swap must not contain a key.
int writeResult(const std::function<std::string()>& work)
{
    try {
        std::string text = work();
        const Descriptor output(outputDescriptor);
        const bool isWritten = writeAll(output, text);
        OPENSSL_cleanse(text.data(), text.size());
        return isWritten ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& caught) {
        logEvent("slow work failed: {}", caught.what());
        return EXIT_FAILURE;
    }
}

} // namespace

ChildEnd::~ChildEnd()
{
    OPENSSL_cleanse(output.data(), output.size());
}

Child::Child(Loop& loop, std::string name, OnEnd onEnd)
    : m_loop(loop), m_name(std::move(name)), m_onEnd(std::move(onEnd))
{
    // A text that grows would leave copies of a key in freed memory.
    m_end.output.reserve(largestOutput);
}

template <class Work>
void Child::start(Work work)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        throw std::runtime_error(m_name + ": no pipe for its output");
    }
    m_output = Descriptor(ends[0]);
    const Descriptor input(ends[1]);
    const pid_t parent = ::getpid();
    m_pid = ::fork();
    if (m_pid == -1) {
        throw std::runtime_error("cannot run " + m_name + ": " + ostrel::errorText(errno));
    }
    if (m_pid == 0) {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::fcntl(input.get(), F_SETFL, 0);
        keepOnly(input.get());
        resetSignals();
        ::_exit(::getppid() == parent ? work() : EXIT_FAILURE);
    }
    // Parent and child both do it, because either may run first.
    ::setpgid(m_pid, m_pid);
    m_reading = m_loop.onEvents(m_output.get(), POLLIN, [this] { readOutput(); });
}

std::unique_ptr<Child> Child::ofProgram(Loop& loop, const std::vector<std::string>& words,
                                        Limit limit, OnEnd onEnd)
{
    const std::string program = trustedProgram(words[0]);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    std::unique_ptr<Child> child(new Child(loop, words[0], std::move(onEnd)));
    child->start([&]() -> int { execute(program, arguments); });
    child->limitTo(limit.patience);
    return child;
}

std::unique_ptr<Child> Child::ofFunction(Loop& loop, const std::function<std::string()>& work,
                                         OnEnd onEnd)
{
    std::unique_ptr<Child> child(new Child(loop, "slow work", std::move(onEnd)));
    child->start([&] { return writeResult(work); });
    return child;
}

Child::~Child()
{
    m_reading.end();
    if (m_pid != -1) {
        ::kill(-m_pid, SIGKILL);
        while (::waitpid(m_pid, nullptr, 0) == -1 && errno == EINTR) {
        }
    }
}

void Child::limitTo(Loop::Milliseconds patience)
{
    if (patience.count() > 0) {
        m_timer = m_loop.after(patience, [this] { kill(m_name + " takes too long"); });
    }
}

void Child::kill(const std::string& reason)
{
    fail(reason);
    if (m_pid != -1) {
        ::kill(-m_pid, SIGKILL);
    }
    m_reading.end();
    m_output.close();
    finishIfOver();
}

// The first failure is the reason; later ones are its consequences.
void Child::fail(const std::string& failure)
{
    if (m_end.isFine()) {
        m_end.failure = failure;
    }
}

void Child::readOutput()
{
    char bytes[4096];
    const ssize_t count = ::read(m_output.get(), bytes, sizeof bytes);
    if (count > 0 && m_end.output.size() + static_cast<std::size_t>(count) <= largestOutput) {
        m_end.output.append(bytes, static_cast<std::size_t>(count));
    } else if (count > 0) {
        kill(m_name + " prints too much");
        return;
    } else if (count == 0) {
        m_reading.end();
        m_output.close();
    }
    OPENSSL_cleanse(bytes, sizeof bytes);
    finishIfOver();
}

void Child::reap()
{
    int status = 0;
    if (m_pid == -1 || ::waitpid(m_pid, &status, WNOHANG) != m_pid) {
        return;
    }
    m_pid = -1;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        fail(m_name + " failed");
    }
    finishIfOver();
}

// A child may close its output and continue, or pass its output on to another process.
void Child::finishIfOver()
{
    if (m_pid == -1 && !m_output.isOpen()) {
        m_timer.end();
        // The call may destroy this object.
        const OnEnd onEnd = m_onEnd;
        onEnd(std::move(m_end));
    }
}

} // namespace ostreld
