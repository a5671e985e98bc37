#include "bench/Peer.h"

#include <cerrno>
#include <csignal>
#include <iostream>
#include <system_error>

#include <fcntl.h>
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
        throw std::system_error(errno, std::generic_category(), "peer: " + what);
    }
    return result;
}

std::string readFifo(const std::string& path)
{
    const int fifo = checked(::open(path.c_str(), O_RDONLY), path);
    std::string text;
    char chunk[4096];
    ssize_t count = 0;
    while ((count = checked(::read(fifo, chunk, sizeof chunk), path)) > 0) {
        text.append(chunk, static_cast<std::size_t>(count));
    }
    ::close(fifo);
    return text;
}

void writeFifo(const std::string& path, const std::string& text)
{
    const int fifo = checked(::open(path.c_str(), O_WRONLY), path);
    checked(::write(fifo, text.data(), text.size()), path);
    ::close(fifo);
}

} // namespace

Peer::Peer(const Device& device, const std::string& service, Answer answer)
    : m_base(device.pipesBase(service)), m_answer(std::move(answer))
{
    writeFile(m_base + ".lock", "");
    checked(::mkfifo((m_base + ".in").c_str(), 0600), m_base + ".in");
    m_process = checked(::fork(), "fork");
    if (m_process == 0) {
        serve();
    }
}

Peer::~Peer()
{
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
}

void Peer::serve() const
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        for (;;) {
            writeFifo(m_base + ".out", m_answer(readFifo(m_base + ".in")));
        }
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << std::endl;
        // Otherwise a caller that waits for an answer would wait forever.
        ::kill(::getppid(), SIGTERM);
        ::_exit(1);
    }
}

} // namespace bench
