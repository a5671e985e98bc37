#include "bench/RawExchange.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench
{

namespace
{

constexpr mode_t replyFifoMode = 0760;

int checked(int result)
{
    if (result == -1) {
        throw std::system_error(errno, std::generic_category(), "exchange by hand");
    }
    return result;
}

int openedAt(const std::string& path, int flags)
{
    return checked(::open(path.c_str(), flags | O_CLOEXEC));
}

std::string messageOf(const char* fields)
{
    passwd entry;
    passwd* found = nullptr;
    char texts[1024];
    ::getpwuid_r(::geteuid(), &entry, texts, sizeof texts, &found);
    std::string message = found != nullptr ? found->pw_name : "";
    message += '\t';
    message += std::to_string(::getpid());
    message += '\t';
    return message += fields;
}

void makeReplyFifo(const RawPipes& pipes)
{
    checked(::mkfifo(pipes.out.c_str(), replyFifoMode));
    group entry;
    group* found = nullptr;
    char texts[1024];
    ::getgrnam_r(pipes.group, &entry, texts, sizeof texts, &found);
    checked(found != nullptr ? ::chown(pipes.out.c_str(), static_cast<uid_t>(-1), found->gr_gid)
                             : -1);
    checked(::chmod(pipes.out.c_str(), replyFifoMode));
}

void writeWithoutSignal(int fifo, const std::string& message)
{
    sigset_t pending;
    sigset_t sigpipe;
    sigset_t former;
    ::sigpending(&pending);
    ::sigemptyset(&sigpipe);
    ::sigaddset(&sigpipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &sigpipe, &former);
    checked(static_cast<int>(::write(fifo, message.data(), message.size())));
    ::sigpending(&pending);
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

void send(const RawPipes& pipes, const std::string& message)
{
    const int fifo = openedAt(pipes.in, O_WRONLY);
    writeWithoutSignal(fifo, message);
    ::close(fifo);
}

std::string receive(const RawPipes& pipes)
{
    const int fifo = openedAt(pipes.out, O_RDONLY);
    std::string reply;
    char chunk[1023];
    ssize_t count = 0;
    while ((count = ::read(fifo, chunk, sizeof chunk)) > 0) {
        reply.append(chunk, static_cast<std::size_t>(count));
    }
    ::close(fifo);
    struct stat status;
    checked(::stat(pipes.out.c_str(), &status));
    checked(std::remove(pipes.out.c_str()));
    return reply;
}

} // namespace

std::string exchangeByHand(const RawPipes& pipes, const char* fields)
{
    const std::string message = messageOf(fields);
    const int lock = openedAt(pipes.lock, O_WRONLY);
    checked(::flock(lock, LOCK_EX | LOCK_NB));
    makeReplyFifo(pipes);
    send(pipes, message);
    const std::string reply = receive(pipes);
    ::flock(lock, LOCK_UN);
    ::close(lock);
    const std::size_t blank = reply.find(' ');
    if (blank == std::string::npos || std::atoi(reply.c_str()) != 0) {
        throw std::runtime_error("exchange by hand: refused");
    }
    return reply.substr(blank + 1);
}

} // namespace bench
