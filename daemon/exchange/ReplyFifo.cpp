#include "exchange/ReplyFifo.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/PipeFiles.h"
#include "base/Spawning.h"

#include "tools/ErrorText.h"

#include <openssl/crypto.h>

#include <cerrno>
#include <utility>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

// A second name would be one that somebody else's FIFO has elsewhere.
bool isFifoOfOneName(const Descriptor& file)
{
    struct stat status {
    };
    return ::fstat(file.get(), &status) == 0 && S_ISFIFO(status.st_mode) && status.st_nlink == 1;
}

// By this name a file is opened again, whatever has its own name meanwhile.
std::string pathOf(const Descriptor& file)
{
    return "/proc/self/fd/" + std::to_string(file.get());
}

} // namespace

ReplyFifo::ReplyFifo(std::string path, const Descriptor& notices)
    : m_path(std::move(path)), m_notices(notices)
{
    removeSetAside(m_path);
}

ReplyFifo::~ReplyFifo()
{
    drop();
}

bool ReplyFifo::isThere() const
{
    return ostreld::isThere(m_path);
}

// Whether what is open here is what has the name now.
bool ReplyFifo::isCurrent() const
{
    struct stat held {
    };
    struct stat named {
    };
    return m_writer.isOpen() && ::fstat(m_writer.get(), &held) == 0 &&
           ::lstat(m_path.c_str(), &named) == 0 && held.st_ino == named.st_ino &&
           held.st_dev == named.st_dev;
}

void ReplyFifo::open()
{
    if (!isCurrent()) {
        drop();
    }
    if (!m_writer.isOpen()) {
        openNew();
    } else if (!m_reader.isOpen()) {
        m_reader = Descriptor::open(pathOf(m_writer), O_RDONLY | O_NONBLOCK);
    }
}

void ReplyFifo::openNew()
{
    const Descriptor found = Descriptor::open(m_path, O_PATH | O_NOFOLLOW);
    if (found.isOpen() && isFifoOfOneName(found)) {
        const std::string path = pathOf(found);
        m_reader = Descriptor::open(path, O_RDONLY | O_NONBLOCK);
        m_writer = Descriptor::open(path, O_WRONLY | O_NONBLOCK);
    }
    delayIf(!m_writer.isOpen() && isShortage(errno));
    if (m_writer.isOpen()) {
        watch();
    }
}

void ReplyFifo::watch()
{
    m_watch = ::inotify_add_watch(m_notices.get(), pathOf(m_writer).c_str(), IN_OPEN);
    if (m_watch == -1) {
        logEvent("{} is not watched: {}", m_path, ostrel::errorText(errno));
    }
}

void ReplyFifo::delayIf(bool isShort)
{
    if (isShort && !m_isDelayed) {
        logEvent("{} has to wait: {}", m_path, ostrel::errorText(errno));
    }
    m_isDelayed = isShort;
}

bool ReplyFifo::isToBeLookedAt() const
{
    return m_isDelayed || (m_writer.isOpen() && m_watch == -1);
}

void ReplyFifo::lookAgain()
{
    if (m_isDelayed) {
        openNew();
        if (m_writer.isOpen()) {
            writeOn();
        } else if (!m_isDelayed) {
            drop();
        }
    }
    dropIfTaken();
}

std::optional<uid_t> ReplyFifo::confide()
{
    open();
    struct stat status {
    };
    if (!m_writer.isOpen() || ::fstat(m_writer.get(), &status) != 0 || status.st_nlink != 1 ||
        ::fchmod(m_writer.get(), S_IRUSR | S_IWUSR) != 0) {
        return std::nullopt;
    }
    m_isConfided = true;
    return status.st_uid;
}

bool ReplyFifo::give(std::string text)
{
    if (!m_isConfided) {
        open();
    }
    m_text = std::move(text);
    m_written = 0;
    m_isAnswered = m_writer.isOpen() || m_isDelayed;
    if (!m_isAnswered) {
        drop();
        return false;
    }
    writeOn();
    return true;
}

bool ReplyFifo::isUnwritten() const
{
    return m_written < m_text.size();
}

int ReplyFifo::blockedWriter() const
{
    return isUnwritten() ? m_writer.get() : -1;
}

void ReplyFifo::writeOn()
{
    while (m_writer.isOpen() && isUnwritten()) {
        const ssize_t count =
            ::write(m_writer.get(), &m_text[m_written], m_text.size() - m_written);
        if (count > 0) {
            m_written += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            return;
        } else if (errno != EINTR) {
            drop();
            return;
        }
    }
    dropIfTaken();
}

bool ReplyFifo::isOpening(const inotify_event& event) const
{
    return event.wd == m_watch && (event.mask & IN_OPEN) != 0;
}

// The bytes wait in the FIFO as long as one end is open. With the daemon's own
// reading end closed, an error event says that no client has opened its own yet.
bool ReplyFifo::isTaken()
{
    if (isUnwritten() || !m_writer.isOpen()) {
        return false;
    }
    // A child's copy of the reading end would count as the client's.
    const std::lock_guard<std::mutex> lock(spawning);
    m_reader.close();
    return (eventsOf(m_writer, POLLOUT) & POLLERR) == 0;
}

bool ReplyFifo::isAwaited()
{
    return !m_isAnswered && isTaken();
}

void ReplyFifo::dropIfTaken()
{
    if (m_isAnswered && isTaken()) {
        drop();
    }
}

void ReplyFifo::drop()
{
    if (m_watch != -1) {
        ::inotify_rm_watch(m_notices.get(), m_watch);
        m_watch = -1;
    }
    m_reader.close();
    m_writer.close();
    OPENSSL_cleanse(m_text.data(), m_text.size());
    m_text.clear();
    m_written = 0;
    m_isAnswered = false;
    m_isConfided = false;
    m_isDelayed = false;
}

bool ReplyFifo::remove() const
{
    return freeName(m_path);
}

} // namespace ostreld
