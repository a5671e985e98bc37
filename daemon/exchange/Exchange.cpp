#include "exchange/Exchange.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/PipeFiles.h"
#include "base/Refusal.h"

#include "tools/ErrorText.h"

#include <cerrno>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace ostreld
{

namespace
{

// The kernel reports that a killed client closed the lock file shortly before the lock is
// free, so sweep() tries again after these pauses in milliseconds. Their sum is the time that
// a daemon that ends gives to a client in a call.
constexpr int sweepPauses[] = {5, 50, 500, 500};
constexpr std::size_t sweepCount = sizeof sweepPauses / sizeof *sweepPauses;

// Limits the work for a directory in which events never stop.
constexpr int looksInARow = 64;

constexpr int shortagePause = 20;

} // namespace

Exchange::Exchange(Loop& loop, const std::string& directory, const std::string& service,
                   gid_t group, OnCall onCall)
    : m_service(service), m_directory(directory), m_replyPath(directory + '/' + service + ".out"),
      m_loop(loop), m_onCall(std::move(onCall)), m_notices(directory, service),
      m_command(directory + '/' + service + ".in", m_notices),
      m_lock(directory + '/' + service + ".lock", m_notices),
      m_delivery(loop, m_notices, m_replyPath)
{
    removeSetAside(m_replyPath);
    m_noticesSource = loop.onEvents(m_notices.descriptor(), POLLIN, [this] { takeNotices(); });
    // A message that is longer than the FIFO must be read before its writer can close it.
    m_bytesSource = loop.onEvents(m_command.descriptor().get(), POLLIN, [this] { takeBytes(); });
    shareWith(group);
    takeUpFormerCall();
}

void Exchange::retire(const std::string& directory, const std::string& service)
{
    constexpr gid_t sameGroup = static_cast<gid_t>(-1);
    const std::string base = directory + '/' + service;
    if (!isThere(base + ".in") && !isThere(base + ".out")) {
        return;
    }
    try {
        Loop loop;
        Exchange exchange(loop, directory, service, sameGroup, [&](Call call) {
            exchange.answer(std::move(call.reply), std::to_string(DaemonTerminates) + ' ');
        });
        exchange.close();
        exchange.finish([&] { loop.stop(); });
        loop.run();
    } catch (const std::exception& caught) {
        logEvent("{}: its callers may wait in vain: {}", service, caught.what());
        freeName(base + ".in");
    }
}

void Exchange::shareWith(gid_t group)
{
    m_command.shareWith(group);
    m_lock.shareWith(group);
    // Last, so that a client finds no name free that belongs to the daemon.
    setDirectoryAccess(m_directory, {group, pipeDirectoryMode});
}

// A former daemon may have left a client in a call. The client may go on, wait for a reply
// that only this daemon can send, or be dead.
void Exchange::takeUpFormerCall()
{
    if (isThere(m_replyPath)) {
        m_binding.replyCreated();
        m_command.drainInto(m_binding);
        if (m_binding.hasBytes()) {
            // The write happened before the watch.
            m_binding.written();
        }
        beginSweeps();
    }
    if (isThere(m_replyPath)) {
        m_delivery.hold(PinnedReply::pin(m_replyPath));
        // Not at once: whoever answers calls waits for this object.
        takeLater(0);
    }
}

// Repeats until no notice arrives between reading the bytes and reading the queue. Only then
// do bytes and notices agree. Reads notices first, because bytes that precede the notice of
// their caller look like those of another caller.
void Exchange::takeNotices()
{
    // Checked before the notices, because a caller sends its message before it opens the FIFO.
    const bool isFormerCallerWaiting = m_delivery.isHeldOneOpened();
    for (int look = 0; look < looksInARow; ++look) {
        readNotices();
        if (m_binding.isUsed()) {
            m_command.drainInto(m_binding);
            if (readNotices()) {
                continue;
            }
        }
        if (m_binding.isAbandoned()) {
            logStep("{}: a message whose caller gave up is dropped", m_service);
            m_binding.discard();
        }
        if (!m_binding.isComplete()) {
            lookAtReply(isFormerCallerWaiting);
            return;
        }
        if (bind()) {
            return;
        }
    }
    takeLater(0);
}

// The notices have usually led to the bytes already. A message that is longer than the FIFO
// has no notice before it is read.
void Exchange::takeBytes()
{
    if (eventsOf(m_command.descriptor(), POLLIN) != 0) {
        readNotices();
        m_command.drainInto(m_binding);
        takeNotices();
    }
}

// Answers a caller whose message a former daemon took.
void Exchange::lookAtReply(bool isFormerCallerWaiting)
{
    if (isFormerCallerWaiting) {
        m_delivery.give(PinnedReply::pin(m_replyPath), std::to_string(DaemonTerminates) + ' ');
    } else if (m_delivery.isHolding() && !m_delivery.isWatched()) {
        takeLater(shortagePause);
    } else {
        m_delivery.onOpened();
    }
}

// Whether anything happened that concerns the binding.
bool Exchange::readNotices()
{
    bool isMoved = false;
    m_notices.read([&](Notice notice) { isMoved = takeNotice(notice) || isMoved; });
    return isMoved;
}

bool Exchange::takeNotice(Notice notice)
{
    switch (notice) {
    case Notice::CommandWritten:
        m_binding.written();
        return true;
    case Notice::CommandClosed:
        m_binding.closed();
        return true;
    case Notice::CommandGone:
        if (!m_isClosed && !m_command.isThere()) {
            throw std::runtime_error("somebody removed its command FIFO");
        }
        return false;
    case Notice::ReplyCreated:
        m_binding.replyCreated();
        return true;
    case Notice::ReplyGone:
        m_binding.replyGone();
        m_delivery.onGone();
        return true;
    case Notice::ReplyOpened:
        return false;
    case Notice::LockClosed:
        sweepLater();
        return false;
    case Notice::Lost:
        logEvent("{}: too much happens in {}", m_service, m_directory);
        m_binding.eventsLost(isThere(m_replyPath));
        sweepLater();
        return true;
    }
    return false;
}

// Returns false if something happened meanwhile, so that the caller must look again.
bool Exchange::bind()
{
    PinnedReply reply = PinnedReply::pin(m_replyPath);
    const int error = errno;
    const bool isShort = !reply.isPinned() && isShortage(error);
    if (readNotices()) {
        return false;
    }
    if (isShort) {
        logEvent("{} has to wait: {}", m_replyPath, ostrel::errorText(error));
        takeLater(shortagePause);
        return true;
    }
    Binding::Message message = m_binding.take();
    if (reply.isPinned()) {
        m_onCall({std::move(message), std::move(reply)});
    } else if (error != ENOENT) {
        logEvent("{} cannot be used: {}", m_replyPath, ostrel::errorText(error));
    }
    return true;
}

void Exchange::takeLater(int milliseconds)
{
    m_later = m_loop.after(Loop::Milliseconds(milliseconds), [this] { takeNotices(); });
}

void Exchange::answer(PinnedReply reply, std::string text)
{
    m_delivery.give(std::move(reply), std::move(text));
}

void Exchange::close()
{
    m_isClosed = true;
    m_command.remove();
}

void Exchange::finish(Loop::Action onEnd)
{
    m_onEnd = std::move(onEnd);
    beginSweeps();
}

// Not between two notices: a sweep drops messages, whose notices may be those that follow.
void Exchange::sweepLater()
{
    if (m_binding.isReplyThere() || m_onEnd) {
        m_sweepTimer = m_loop.after(Loop::Milliseconds(0), [this] { beginSweeps(); });
    }
}

void Exchange::beginSweeps()
{
    if (m_binding.isReplyThere() || m_onEnd) {
        m_sweepsLeft = m_onEnd && m_sweepTimer.isActive() ? m_sweepsLeft : sweepCount;
        sweep();
    }
}

// Making clients fail is the last resort, for a client that only has the lock file open: it
// prevents the lease that would make clients wait.
void Exchange::sweep()
{
    if (!m_binding.isReplyThere() && !m_onEnd) {
        return;
    }
    const bool isLast = m_sweepsLeft == 0;
    if (isLast ? m_lock.makeClientsFail() : m_lock.makeClientsWait()) {
        removeLeftReply();
        m_lock.letClientsIn();
    } else if (!isLast) {
        const int pause = sweepPauses[sweepCount - m_sweepsLeft--];
        m_sweepTimer = m_loop.after(Loop::Milliseconds(pause), [this] { sweep(); });
        return;
    }
    m_sweepTimer.end();
    if (m_onEnd) {
        end();
    }
}

// No client is in a call, so the bytes in the command FIFO are from callers that are gone.
// Their notices go too: counted later, they would make the next caller's message unclear.
void Exchange::removeLeftReply()
{
    if (isThere(m_replyPath) && freeName(m_replyPath)) {
        logEvent("{}: a client ended within its call; its reply FIFO is removed", m_service);
    }
    m_delivery.onGone();
    m_binding.replyGone();
    m_command.drainInto(m_binding);
    m_notices.read([this](Notice notice) {
        if (notice == Notice::CommandGone) {
            takeNotice(notice);
        }
    });
    m_binding.discard();
}

// A stopped client that has opened the command FIFO would wait for its reply for ever. A
// client before that step gets "Daemon is off", or goes on with the next daemon.
void Exchange::end()
{
    const bool isReplyLeft = m_delivery.isUnderWay() && m_delivery.isAt(m_replyPath);
    const bool isClientThere = m_command.isClientThere();
    if (isReplyLeft || (isClientThere && PinnedReply::pin(m_replyPath).isPinned())) {
        ::unlink(m_replyPath.c_str());
    }
    m_delivery.drop();
    m_noticesSource.end();
    m_bytesSource.end();
    const Loop::Action onEnd = std::exchange(m_onEnd, nullptr);
    onEnd();
}

} // namespace ostreld
