#include "bench/RawDaemon.h"

#include "bench/Device.h"

#include <cerrno>
#include <csignal>
#include <iostream>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench
{

namespace
{

template <class Result>
Result checked(Result result, const std::string& what)
{
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), "daemon by hand: " + what);
    }
    return result;
}

// Whether one of the events that are due says that a caller closed the command FIFO.
bool isClosed(int events, int commandWatch)
{
    alignas(inotify_event) char bytes[4096];
    const ssize_t count = ::read(events, bytes, sizeof bytes);
    bool result = false;
    for (const char* at = bytes; at < bytes + count;) {
        const auto* event = reinterpret_cast<const inotify_event*>(at);
        result |= event->wd == commandWatch && (event->mask & IN_CLOSE_WRITE) != 0;
        at += sizeof(inotify_event) + event->len;
    }
    return result;
}

} // namespace

RawDaemon::RawDaemon(std::string base, std::string reply, const std::string& logPath)
    : m_base(std::move(base)), m_reply(std::move(reply)),
      m_log(checked(::open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600),
                    logPath))
{
    writeFile(m_base + ".lock", "");
    checked(::mkfifo((m_base + ".in").c_str(), 0600), m_base + ".in");
    m_process = checked(::fork(), "fork");
    if (m_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        try {
            serve();
        } catch (const std::exception& failure) {
            std::cerr << failure.what() << std::endl;
            // Otherwise a caller that waits for an answer would wait forever.
            ::kill(::getppid(), SIGTERM);
        }
        ::_exit(1);
    }
}

RawDaemon::~RawDaemon()
{
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
    ::close(m_log);
}

void RawDaemon::serve() const
{
    const std::string command = m_base + ".in";
    const std::string directory = m_base.substr(0, m_base.rfind('/'));
    const int events = checked(::inotify_init1(IN_NONBLOCK), "inotify");
    // A caller that gives up removes its reply FIFO, and the next one makes another.
    checked(::inotify_add_watch(events, directory.c_str(), IN_CREATE | IN_DELETE), directory);
    const int watch =
        checked(::inotify_add_watch(events, command.c_str(), IN_CLOSE_WRITE), command);
    // Lets clients in, so that comes last.
    const int fifo = checked(::open(command.c_str(), O_RDWR | O_NONBLOCK), command);
    pollfd polled = {events, POLLIN, 0};
    for (;;) {
        checked(::poll(&polled, 1, -1), "poll");
        if (isClosed(events, watch)) {
            char message[4096];
            const ssize_t count = checked(::read(fifo, message, sizeof message), command);
            answer(std::string(message, static_cast<std::size_t>(count)));
        }
    }
}

void RawDaemon::answer(const std::string& message) const
{
    const std::string line = "by hand: " + message + ": done\n";
    checked(::write(m_log, line.data(), line.size()), "log");
    const int fifo = checked(::open((m_base + ".out").c_str(), O_WRONLY), m_base + ".out");
    checked(::write(fifo, m_reply.data(), m_reply.size()), m_base + ".out");
    ::close(fifo);
}

} // namespace bench
