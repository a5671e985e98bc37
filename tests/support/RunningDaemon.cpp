#include "support/RunningDaemon.h"

#include "support/Await.h"
#include "support/StartProgram.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include <unistd.h>

namespace support
{

using ostrel::Descriptor;

namespace
{

std::string readToEnd(const Descriptor& pipe)
{
    std::string all;
    char byte = '\0';
    ssize_t count = 0;
    while ((count = ::read(pipe.get(), &byte, 1)) == 1 || (count == -1 && errno == EINTR)) {
        all.append(count == 1 ? 1 : 0, byte);
    }
    return all;
}

} // namespace

const char* const RunningDaemon::path = OSTREL_BUILT_DAEMON;

RunningDaemon::RunningDaemon()
{
    writeText(m_logPath, "");
}

RunningDaemon::~RunningDaemon()
{
    kill();
    // A sanitizer's report about the daemon fails the test.
    for (const char* report : {"Sanitizer", "runtime error: "}) {
        if (log().find(report) != std::string::npos) {
            ADD_FAILURE() << log();
        }
    }
    if (testing::Test::HasFailure() || std::uncaught_exceptions() > 0) {
        std::cout << "The daemon's log:\n" << log();
    }
}

void RunningDaemon::start(const std::vector<std::string>& options)
{
    launch(options);
    awaitReady();
}

void RunningDaemon::launch(const std::vector<std::string>& options)
{
    int ends[2];
    // Not close-on-exec: the daemon inherits the writing end.
    if (::pipe(ends) != 0) {
        throw std::runtime_error("no pipe for the daemon");
    }
    m_ready = Descriptor(ends[0]);
    const Descriptor writing(ends[1]);
    ::fcntl(m_ready.get(), F_SETFD, FD_CLOEXEC);
    std::vector<std::string> words = {path, "--ready-fd", std::to_string(writing.get())};
    words.insert(words.end(), options.begin(), options.end());
    m_pid = startProgram(words, m_logPath, m_logPath);
}

void RunningDaemon::awaitReady()
{
    // Reads to the end of the pipe: once the daemon has closed it, the number
    // of its open descriptors is stable.
    if (readToEnd(m_ready) != "\n") {
        kill();
        throw std::runtime_error("ostreld does not start:\n" + log());
    }
}

int RunningDaemon::stop(int signal)
{
    ::kill(m_pid, signal);
    return awaitEnd(std::exchange(m_pid, -1));
}

void RunningDaemon::kill()
{
    if (m_pid != -1) {
        stop(SIGKILL);
    }
}

void RunningDaemon::restart()
{
    kill();
    start();
}

void RunningDaemon::reload(const std::string& text)
{
    const LogMark mark(*this);
    ::kill(m_pid, SIGHUP);
    mark.await(text);
}

pid_t RunningDaemon::pidOf(const std::string& service) const
{
    const std::string children =
        "/proc/" + std::to_string(m_pid) + "/task/" + std::to_string(m_pid) + "/children";
    std::istringstream pids(readText(children));
    for (pid_t pid = 0; pids >> pid;) {
        // An emulator keeps its own arguments, so the process is known by its name, of
        // which the kernel keeps 15 characters.
        const std::string name = readText("/proc/" + std::to_string(pid) + "/comm");
        if (name == ("ostreld: " + service).substr(0, 15) + '\n') {
            return pid;
        }
    }
    throw std::runtime_error("no process serves " + service);
}

RunningDaemon::LogMark::LogMark(const RunningDaemon& daemon)
    : m_daemon(daemon), m_start(daemon.log().size())
{
}

void RunningDaemon::LogMark::await(const std::string& text) const
{
    awaitChange(m_daemon.m_logPath, "the log line \"" + text + '"',
                [&] { return m_daemon.log().find(text, m_start) != std::string::npos; });
}

} // namespace support
