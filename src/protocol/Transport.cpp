#include "protocol/Transport.h"

#include <ostrel/Tools.h>
#include <ostrelApi/ReturnCode.h>

#include "errors/Fail.h"
#include "errors/Interrupted.h"
#include "protocol/Reply.h"
#include "tools/Descriptor.h"
#include "tools/ErrorText.h"
#include "tools/SigpipeBlock.h"
#include "tools/Trace.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/file.h>
#include <sys/stat.h>

namespace ostrelApi
{

namespace
{

using ostrel::Descriptor;
using ostrel::errorText;
using ostrel::Tools;
using ostrel::trace;

constexpr mode_t replyFifoMode = 0760;
constexpr std::size_t replyChunk = 1023;

/// The service's lock, held while the object lives.
class ServiceLock
{
public:
    explicit ServiceLock(const std::string& path) : m_file(open(path))
    {
        if (::flock(m_file.get(), LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            trace("Error: file already locked : ", errorText(error));
            fail(ApiLocked, "cannot lock", path, error);
        }
    }
    // Unlocked by hand: a child that the process forked meanwhile shares the
    // lock, and closing this descriptor alone would leave it held.
    ~ServiceLock() { ::flock(m_file.get(), LOCK_UN); }
    ServiceLock(const ServiceLock&) = delete;
    ServiceLock& operator=(const ServiceLock&) = delete;

private:
    static Descriptor open(const std::string& path);

    Descriptor m_file;
};

Descriptor ServiceLock::open(const std::string& path)
{
    Descriptor file = Descriptor::open(path, O_WRONLY);
    if (file.isOpen()) {
        return file;
    }
    const int error = errno;
    const bool isOff = error == ENOENT;
    if (isOff) {
        trace("Failed to open the file '", path,
              "'. Looks like the 'ostreld' service is not running.");
    } else {
        trace("Error: FIFO lock file open error ", errorText(error));
    }
    fail(isOff ? DaemonOff : AccessDenied, "cannot open the lock file", path, error);
}

/// The reply FIFO of one call, removed with the object.
class ReplyFifo
{
public:
    explicit ReplyFifo(const ServicePipes& pipes) : m_path(pipes.out) { create(); }
    ~ReplyFifo()
    {
        if (m_isReceived) {
            Tools::removeFile(m_path);
        } else if (std::remove(m_path.c_str()) != 0) {
            trace("Error: Failed to remove FIFO OUT :", m_path, " : ", errorText(errno));
        }
    }
    ReplyFifo(const ReplyFifo&) = delete;
    ReplyFifo& operator=(const ReplyFifo&) = delete;

    /// Lets the daemon, a member of `group`, write into it.
    void shareWith(const std::string& group) const;

    /// Waits for the daemon and reads its reply to the end.
    std::string receive();

private:
    void create() const;
    Descriptor open() const;

    const std::string m_path;
    // Before the reply is asked for, a failed removal is told in other words than afterwards.
    bool m_isReceived = false;
};

void ReplyFifo::create() const
{
    if (::mkfifo(m_path.c_str(), replyFifoMode) != 0) {
        const int error = errno;
        trace("Error: Failed to create FIFO OUT :", m_path, " : ", errorText(error));
        fail(ActionFailed, "cannot create the reply FIFO", m_path, error);
    }
}

bool changeGroup(const std::string& path, const std::string& group)
{
    try {
        return Tools::changeGroup(path, group);
    } catch (const std::exception&) {
        return false;
    }
}

void ReplyFifo::shareWith(const std::string& group) const
{
    if (!changeGroup(m_path, group)) {
        const int error = errno;
        trace("Error: Change the group of the out file to '", group, "' failed.");
        fail(ActionFailed, groupReasonOf(m_path, group, error));
    }
    // mkfifo() narrows the mode by the umask.
    if (::chmod(m_path.c_str(), replyFifoMode) != 0) {
        const int error = errno;
        trace("Error: Failed to assign required permissions to file :", m_path, " : ",
              errorText(error));
        fail(ActionFailed, "cannot set the mode of the reply FIFO", m_path, error);
    }
}

Descriptor ReplyFifo::open() const
{
    Descriptor fifo = Descriptor::open(m_path, O_RDONLY);
    if (fifo.isOpen()) {
        return fifo;
    }
    const int error = errno;
    trace("Error: Failed to open FIFO OUT file: ", m_path, " : ", errorText(error));
    if (error == EINTR) {
        throw Interrupted();
    }
    fail(ActionFailed, "cannot open the reply FIFO", m_path, error);
}

std::string ReplyFifo::receive()
{
    m_isReceived = true;
    const Descriptor fifo = open();
    std::string reply;
    char chunk[replyChunk];
    ssize_t count = 0;
    while ((count = ::read(fifo.get(), chunk, sizeof chunk)) > 0) {
        // A chunk counts up to its first NUL.
        reply.append(chunk, ::strnlen(chunk, static_cast<std::size_t>(count)));
    }
    return reply;
}

Descriptor openCommandFifo(const std::string& path)
{
    Descriptor fifo = Descriptor::open(path, O_WRONLY);
    if (fifo.isOpen()) {
        return fifo;
    }
    const int error = errno;
    const bool isOff = error == ENOENT;
    if (isOff) {
        // Intended: other words than for the lock file, and a trailing blank.
        trace("Failed to open the file '", path,
              "'. Looks like 'ostreld' service is not running. ");
    } else {
        trace("Error: Failed to open FIFO IN file: ", path, ": ", errorText(error));
    }
    fail(isOff ? DaemonOff : ActionFailed, "cannot open the command FIFO", path, error);
}

void send(const ostrel::Commands& command, const ServicePipes& pipes)
{
    const Descriptor fifo = openCommandFifo(pipes.in);
    const std::string message = command.toMessage();
    const ostrel::SigpipeBlock noSignal;
    if (::write(fifo.get(), message.data(), message.size()) == -1) {
        // Intended: not fatal by itself, and the text names the reply FIFO.
        trace("Error: Command write() operation failed :", pipes.out, " : ", errorText(errno));
    }
}

std::string roundTrip(const ostrel::Commands& command, const ServicePipes& pipes)
{
    const ServiceLock lock(pipes.lock);
    ReplyFifo reply(pipes);
    reply.shareWith(pipes.group);
    send(command, pipes);
    return reply.receive();
}

} // namespace

ServicePipes pipesOf(const std::string& directory, const std::string& serviceName,
                     const std::string& group)
{
    const std::string base = directory + '/' + serviceName;
    return {base + ".lock", base + ".in", base + ".out", group};
}

std::string exchange(ostrel::Commands& command, const ServicePipes& pipes)
{
    command.user = Tools::getUserName();
    command.pid = std::to_string(Tools::getPid());
    return payloadOf(roundTrip(command, pipes));
}

} // namespace ostrelApi
