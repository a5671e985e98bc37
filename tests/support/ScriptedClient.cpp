#include "support/ScriptedClient.h"

#include "support/Device.h"
#include "support/StartProgram.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ostream>
#include <stdexcept>

#include <poll.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

using ostrel::Descriptor;

namespace
{

constexpr int patience = 20000;
constexpr std::size_t startLength = 100;

/// The call that the child makes.
class Call
{
public:
    Call(const std::string& base, Step stop) : m_base(base), m_stop(stop) {}

    void make(const std::string& message)
    {
        openLock();
        makeReplyFifo();
        send(message);
        receive();
        m_isFifoMade = false;
        require(::unlink(path("out").c_str()), "remove the reply FIFO");
        done(Step::RemovesReplyFifo);
    }

    std::string outcome() const { return m_failure.empty() ? "reply " + m_reply : m_failure; }

    void cleanUp() const
    {
        if (m_isFifoMade) {
            ::unlink(path("out").c_str());
        }
    }

private:
    std::string path(const char* suffix) const { return m_base + '.' + suffix; }

    void done(Step step) const
    {
        if (step == m_stop) {
            ::raise(SIGSTOP);
        }
    }

    int require(int result, const char* what)
    {
        if (result == -1) {
            m_failure = std::string("failed to ") + what + ": " + std::strerror(errno);
            throw std::runtime_error(m_failure);
        }
        return result;
    }

    Descriptor open(const char* suffix, int flags, const char* what)
    {
        Descriptor file = Descriptor::open(path(suffix), flags);
        require(file.get(), what);
        return file;
    }

    void openLock()
    {
        m_lock = open("lock", O_WRONLY, "open the lock");
        done(Step::OpensLock);
        require(::flock(m_lock.get(), LOCK_EX | LOCK_NB), "take the lock");
        done(Step::TakesLock);
    }

    void makeReplyFifo()
    {
        constexpr mode_t mode = 0760;
        require(::mkfifo(path("out").c_str(), mode), "make the reply FIFO");
        m_isFifoMade = true;
        done(Step::MakesReplyFifo);
        require(::chown(path("out").c_str(), static_cast<uid_t>(-1), ::getegid()), "share it");
        require(::chmod(path("out").c_str(), mode), "share it");
        done(Step::SharesReplyFifo);
    }

    void send(const std::string& message)
    {
        Descriptor in = open("in", O_WRONLY, "open the command FIFO");
        done(Step::OpensCommandFifo);
        // Like the library, it continues when a write fails.
        const std::size_t half = message.size() / 2;
        ostrel::writeAll(in, message.substr(0, half));
        done(Step::WritesHalf);
        ostrel::writeAll(in, message.substr(half));
        done(Step::WritesAll);
        in.close();
        done(Step::ClosesCommandFifo);
    }

    void receive()
    {
        const Descriptor out = open("out", O_RDONLY, "open the reply FIFO");
        done(Step::OpensReplyFifo);
        read(out, startLength);
        done(Step::ReadsStartOfReply);
        while (read(out, 4096)) {
        }
        done(Step::ReadsReply);
    }

    bool read(const Descriptor& out, std::size_t length)
    {
        char bytes[4096];
        const ssize_t count = ::read(out.get(), bytes, length);
        m_reply.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
        return count > 0;
    }

    const std::string m_base;
    const Step m_stop;
    Descriptor m_lock;
    bool m_isFifoMade = false;
    std::string m_reply;
    std::string m_failure;
};

[[noreturn]] void runClient(const std::string& base, const std::string& message, Step step,
                            const Descriptor& report)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGPIPE, SIG_IGN);
    Call call(base, step);
    try {
        call.make(message);
    } catch (const std::exception&) {
        call.cleanUp();
    }
    ostrel::writeAll(report, call.outcome());
    ::_exit(0);
}

} // namespace

std::string toString(Step step)
{
    static const char* const names[] = {
        "OpensLock",        "TakesLock",         "MakesReplyFifo", "SharesReplyFifo",
        "OpensCommandFifo", "WritesHalf",        "WritesAll",      "ClosesCommandFifo",
        "OpensReplyFifo",   "ReadsStartOfReply", "ReadsReply",     "RemovesReplyFifo",
    };
    return names[static_cast<std::size_t>(step)];
}

void PrintTo(Step step, std::ostream* out)
{
    *out << toString(step);
}

ScriptedClient::ScriptedClient(const Device& device, const std::string& service,
                               const std::string& message, Step step)
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe for a client");
    }
    m_outcome = Descriptor(ends[0]);
    const Descriptor report(ends[1]);
    m_pid = ::fork();
    if (m_pid == 0) {
        runClient(device.pipesDirectory() + '/' + service + '/' + service, message, step, report);
    }
    int status = 0;
    if (::waitpid(m_pid, &status, WUNTRACED) != m_pid || !WIFSTOPPED(status)) {
        m_pid = -1;
        throw std::runtime_error("the client ended before " + toString(step));
    }
}

ScriptedClient::~ScriptedClient()
{
    kill();
}

void ScriptedClient::kill()
{
    if (m_pid != -1) {
        ::kill(m_pid, SIGKILL);
        awaitEnd(std::exchange(m_pid, -1));
    }
}

void ScriptedClient::resume() const
{
    ::kill(m_pid, SIGCONT);
}

std::string ScriptedClient::outcome()
{
    std::string text;
    char bytes[4096];
    pollfd entry{m_outcome.get(), POLLIN, 0};
    while (::poll(&entry, 1, patience) == 1) {
        const ssize_t count = ::read(m_outcome.get(), bytes, sizeof bytes);
        if (count <= 0) {
            return text;
        }
        text.append(bytes, static_cast<std::size_t>(count));
    }
    return "still waiting";
}

} // namespace support
