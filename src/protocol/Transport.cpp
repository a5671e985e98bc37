#include "protocol/Transport.h"

#include <ostrel/Tools.h>
#include <ostrelApi/ReturnCode.h>

#include "errors/Fail.h"
#include "errors/Interrupted.h"
#include "protocol/CommandFifo.h"
#include "protocol/Reply.h"
#include "tools/Descriptor.h"
#include "tools/ErrorText.h"
#include "tools/PinnedFile.h"
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
using ostrel::PinnedFile;
using ostrel::Tools;
using ostrel::trace;

// The group's members, and so the daemon, may read and write: the daemon keeps a reading
// end of its own while it writes.
constexpr mode_t replyFifoMode = 0760;
constexpr std::size_t replyChunk = 1023;
constexpr std::size_t longestReply = 16 << 20;

/// The service's lock, held while the object lives.
///
/// A service has one command FIFO and one reply FIFO. Without the lock, the messages of
/// two callers could mix, and each could read the other's reply. It is a flock() and not
/// the existence of a file, because the kernel releases it when a caller is killed.
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
    // Unlocks explicitly: a child that another thread forked during the call shares the
    // lock, and would keep it after this descriptor is closed.
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
///
/// The caller creates it, because its owner identifies the caller: the kernel sets the
/// owner, but the user in the message is only what the caller wrote. Each call creates a
/// new one, so it never contains bytes of an earlier reply.
///
/// Its name is fixed, so the message contains no path, and no caller can make the daemon
/// write elsewhere. The name also lets the daemon find and remove the FIFO of a killed
/// caller. Until it has done so, create() fails: opening that FIFO instead could read a
/// reply to the killed caller.
///
/// If the daemon is killed, the FIFO stays, and the next daemon answers there.
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

    /// Gives it to `group`, so that the daemon, a member, may write into it.
    void shareWith(const std::string& group) const;

    /// Waits for the daemon and returns its reply. The end of the file is the end of the
    /// reply, which has no length and no final character. Any member of the group can write
    /// into the FIFO, so a reply of more than `longestReply` bytes fails.
    std::string receive();

private:
    void create() const;
    Descriptor open() const;

    const std::string m_path;
    // Intended: the trace of a failed removal has other words before this step than after.
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

bool changeGroup(const PinnedFile& file, const std::string& path, const std::string& group)
{
    try {
        return ostrel::changeGroupOfOwnFile(file, path, group);
    } catch (const std::exception&) {
        return false;
    }
}

void ReplyFifo::shareWith(const std::string& group) const
{
    const PinnedFile file = PinnedFile::own(m_path);
    if (!changeGroup(file, m_path, group)) {
        const int error = errno;
        trace("Error: Change the group of the out file to '", group, "' failed.");
        fail(ActionFailed, groupReasonOf(m_path, group, error));
    }
    // mkfifo() clears the bits of the umask.
    if (!file.changeMode(replyFifoMode)) {
        const int error = errno;
        trace("Error: Failed to assign required permissions to file :", m_path, " : ",
              errorText(error));
        fail(ActionFailed, "cannot set the mode of the reply FIFO", m_path, error);
    }
}

Descriptor ReplyFifo::open() const
{
    Descriptor fifo = Descriptor::open(m_path, O_RDONLY | O_NOFOLLOW);
    if (fifo.isOpen()) {
        return fifo;
    }
    const int error = errno;
    trace("Error: Failed to open FIFO OUT file: ", m_path, " : ", errorText(error));
    if (error == EINTR) {
        // The command is sent and may be executed, so this must not look like a failure.
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
    std::size_t length = 0;
    while ((count = ::read(fifo.get(), chunk, sizeof chunk)) > 0) {
        length += static_cast<std::size_t>(count);
        if (length > longestReply) {
            trace("Error: The reply is longer than 16 MiB.");
            fail(ActionFailed, "the daemon's reply is longer than 16 MiB");
        }
        // Intended: what follows a NUL in a chunk is dropped, as when each chunk is appended
        // as a C string. Replies are text, so this loses nothing.
        reply.append(chunk, ::strnlen(chunk, static_cast<std::size_t>(count)));
    }
    return reply;
}

void send(const ostrel::Commands& command, const ServicePipes& pipes)
{
    const Descriptor fifo = openCommandFifo(pipes);
    const std::string message = command.toMessage();
    // The daemon may be killed between the open and the write, and SIGPIPE would end the
    // application.
    const ostrel::SigpipeBlock noSignal;
    if (::write(fifo.get(), message.data(), message.size()) == -1) {
        // Intended: a failed write does not end the call, and the text names the reply FIFO.
        trace("Error: Command write() operation failed :", pipes.out, " : ", errorText(errno));
    }
}

// The reply FIFO exists before the message is sent, so the daemon has a place to write
// to when it reads the message. The lock is released last, after the FIFO is removed:
// the next caller creates a FIFO of the same name.
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
    return {base + ".lock", base + ".in", base + ".out", group, nullptr};
}

std::string exchange(ostrel::Commands& command, const ServicePipes& pipes)
{
    command.user = Tools::getUserName();
    command.pid = std::to_string(Tools::getPid());
    return payloadOf(roundTrip(command, pipes));
}

} // namespace ostrelApi
