#include "exchange/Delivery.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/PipeFiles.h"

#include "tools/ErrorText.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <unistd.h>

namespace ostreld
{

namespace
{

// No event reports the end of a shortage, so the delivery tries again.
constexpr int firstPause = 10;
constexpr int longestPause = 1000;

} // namespace

Delivery::Delivery(Loop& loop, Notices& notices, std::string path)
    : m_loop(loop), m_notices(notices), m_path(std::move(path))
{
}

void Delivery::give(PinnedReply reply, std::string text)
{
    if (m_isHolding && reply.isSameAs(m_reply)) {
        // Without a reader, a write fails until the caller has opened the FIFO.
        m_reader = m_reply.open(O_RDONLY);
        m_isHolding = false;
    } else {
        drop();
        m_reply = std::move(reply);
    }
    m_text = std::move(text);
    m_written = 0;
    attempt();
}

void Delivery::hold(PinnedReply reply)
{
    drop();
    m_reply = std::move(reply);
    m_isHolding = true;
    attempt();
}

void Delivery::attempt()
{
    if (!m_reply.isLinked()) {
        drop();
        return;
    }
    if (!m_writer.isOpen()) {
        open();
    }
    if (m_writer.isOpen() && !m_isHolding) {
        writeOn();
    }
}

// ENXIO: the caller has not reached its open() yet. It has a moment for that, because a single
// processor can have stopped it in its close() to run the daemon. The daemon does not give
// way to it earlier: on a busy device each such moment costs a turn of the others.
void Delivery::open()
{
    m_writer = m_reply.open(O_WRONLY);
    if (isCallerAbsent()) {
        ::sched_yield();
        m_writer = m_reply.open(O_WRONLY);
    }
    if (isCallerAbsent()) {
        openBothEnds();
    }
    if (!m_writer.isOpen()) {
        retryOrGiveUp(errno);
    }
}

bool Delivery::isCallerAbsent() const
{
    return !m_writer.isOpen() && errno == ENXIO;
}

void Delivery::openBothEnds()
{
    m_reader = m_reply.open(O_RDONLY);
    m_writer = m_reader.isOpen() ? m_reply.open(O_WRONLY) : ostrel::Descriptor();
    if (!m_writer.isOpen()) {
        const int error = errno;
        m_reader.close();
        errno = error;
    } else {
        m_isWatched = m_notices.watchReply(m_reply.path());
    }
}

// If the reply cannot be written, the caller would wait for ever. Removing its FIFO makes its
// open() fail.
void Delivery::retryOrGiveUp(int error)
{
    if (!isShortage(error) && error != EINTR) {
        logEvent("{}: the reply is lost: {}", m_path, ostrel::errorText(error));
        if (m_reply.isAt(m_path)) {
            ::unlink(m_path.c_str());
        }
        drop();
        return;
    }
    if (m_attempts == 0) {
        logEvent("{} has to wait: {}", m_path, ostrel::errorText(error));
    }
    retryLater();
}

void Delivery::retryLater()
{
    const int pause = std::min(longestPause, firstPause << std::min(m_attempts++, 10));
    m_retry = m_loop.after(Loop::Milliseconds(pause), [this] { attempt(); });
}

void Delivery::writeOn()
{
    while (!isWritten()) {
        const ssize_t count =
            ::write(m_writer.get(), &m_text[m_written], m_text.size() - m_written);
        if (count > 0) {
            m_written += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            m_room = m_loop.onEvents(m_writer.get(), POLLOUT, [this] { writeOn(); });
            return;
        } else if (errno != EINTR) {
            drop();
            return;
        }
    }
    m_room.end();
    finishIfTaken();
}

// The bytes stay in the FIFO while one end is open. After the daemon has closed its reading
// end, POLLERR means that no caller has opened the FIFO yet.
bool Delivery::isOpenedByCaller()
{
    m_reader.close();
    return m_writer.isOpen() && (eventsOf(m_writer, POLLOUT) & POLLERR) == 0;
}

void Delivery::finishIfTaken()
{
    if (isOpenedByCaller()) {
        drop();
    } else if (!m_isWatched) {
        retryLater();
    }
}

bool Delivery::isHeldOneOpened()
{
    return m_isHolding && isOpenedByCaller();
}

void Delivery::onOpened()
{
    if (m_writer.isOpen() && !m_isHolding && isWritten()) {
        finishIfTaken();
    }
}

void Delivery::onGone()
{
    if (m_reply.isPinned() && !m_reply.isLinked()) {
        drop();
    }
}

void Delivery::drop()
{
    m_notices.ignoreReply();
    m_room.end();
    m_retry.end();
    m_reader.close();
    m_writer.close();
    m_reply = {};
    OPENSSL_cleanse(m_text.data(), m_text.size());
    m_text.clear();
    m_written = 0;
    m_attempts = 0;
    m_isWatched = false;
    m_isHolding = false;
}

} // namespace ostreld
