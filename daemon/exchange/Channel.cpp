#include "exchange/Channel.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/PipeFiles.h"
#include "base/Refusal.h"

#include <cerrno>

#include <poll.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

namespace
{

// A client that is killed tells that it closed the lock file a moment before
// it has done so: look again after these pauses. Together they are how long a
// daemon that ends waits for the client in its midst.
constexpr long sweepPauses[] = {5, 50, 500, 500};
constexpr std::size_t sweepCount = sizeof sweepPauses / sizeof *sweepPauses;

// A client that never ceases to write keeps the daemon from nothing else.
constexpr int readsInARow = 512;

// Where something was short, and no event tells of its end; in milliseconds.
constexpr int lookPause = 50;

constexpr long nanosecondsPerMillisecond = 1000000;

void startTimer(const Descriptor& timer, long milliseconds)
{
    itimerspec time{};
    time.it_value.tv_sec = milliseconds / 1000;
    time.it_value.tv_nsec = milliseconds % 1000 * nanosecondsPerMillisecond;
    ::timerfd_settime(timer.get(), 0, &time, nullptr);
}

std::string withCode(ReturnCode code)
{
    return std::to_string(code) + ' ';
}

} // namespace

Channel::Channel(const std::string& directory, const std::string& service, gid_t group)
    : m_service(service), m_directory(directory),
      m_notices(requireOpen(Descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), "make",
                            "an inotify instance")),
      m_timer(requireOpen(Descriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
                          "make", "a timer")),
      m_in(directory + '/' + service + ".in"),
      m_lock(directory + '/' + service + ".lock", m_notices),
      m_reply(directory + '/' + service + ".out", m_notices)
{
    shareWith(group);
    takeUpFormerCall();
}

Channel::~Channel() = default;

void Channel::retire(const std::string& directory, const std::string& service)
{
    constexpr gid_t sameGroup = static_cast<gid_t>(-1);
    const std::string base = directory + '/' + service;
    if (!isThere(base + ".in") && !isThere(base + ".out")) {
        return;
    }
    try {
        Channel channel(directory, service, sameGroup);
        channel.stop();
        channel.run({[](const std::string&) { return std::string(); }, [] {}, -1, [] {}});
        channel.end();
    } catch (const std::exception& caught) {
        logEvent("{}: its callers may wait in vain: {}", service, caught.what());
        freeName(base + ".in");
    }
}

// A client that a former daemon left in the middle of its call either goes on
// now, or waits for an answer that nobody else will give.
void Channel::takeUpFormerCall()
{
    if (m_reply.isThere()) {
        m_sweepsLeft = sweepCount;
        sweep();
    }
    if (m_reply.isThere()) {
        m_reply.open();
        answerFormerCall();
    }
}

void Channel::shareWith(gid_t group)
{
    m_in.shareWith(group);
    m_lock.shareWith(group);
    // Last: a client that finds it open finds nothing missing that it could make.
    setDirectoryAccess(m_directory, {group, pipeDirectoryMode});
}

// To fail them is the last resort, for a client that merely has the lock file
// open cannot be made to wait.
bool Channel::keepClientsOut() const
{
    return m_sweepsLeft > 0 ? m_lock.makeClientsWait() : m_lock.makeClientsFail();
}

void Channel::run(const Duties& duties)
{
    while (!m_isDone) {
        pollfd entries[] = {
            {m_in.reader(), POLLIN, 0},
            {m_notices.get(), POLLIN, 0},
            {m_wake.descriptor().get(), POLLIN, 0},
            {m_timer.get(), POLLIN, 0},
            {m_reply.blockedWriter(), POLLOUT, 0},
            {duties.clock, POLLIN, 0},
        };
        const int pause = isShort() ? lookPause : -1;
        if (::poll(entries, sizeof entries / sizeof *entries, pause) == -1 && errno != EINTR) {
            failSystemCall("wait for", m_service);
        }
        // A message first: what the notices tell happened after it was written.
        for (int i = 0; i < readsInARow && m_in.isReady(); ++i) {
            takeInput(duties.answer);
        }
        takeNotices();
        doWhatWasShort();
        if (entries[4].revents != 0) {
            m_reply.writeOn();
        }
        if (entries[3].revents != 0) {
            drain(m_timer);
            sweep();
        }
        if (entries[5].revents != 0) {
            duties.onClock();
        }
        takeWake(duties.onWake);
    }
}

// A client that stands still past the command FIFO would wait for its reply for
// ever. One before it is told that the daemon is off, or goes on with the next.
void Channel::end()
{
    m_in.remove();
    if (m_reply.isAnswered() || m_in.isMessageUnderWay()) {
        m_reply.remove();
    }
    m_reply.drop();
    m_in.close();
}

void Channel::stop()
{
    m_isStopAsked = true;
    wake();
}

void Channel::takeWake(const std::function<void()>& onWake)
{
    if (eventsOf(m_wake.descriptor(), POLLIN) == 0) {
        return;
    }
    m_wake.take();
    if (!m_isStopAsked) {
        onWake();
    } else if (!m_isStopping) {
        beginStop();
    }
}

// New clients are told at once that the daemon is off; one that holds the lock
// has some time left to end its call. The lock file stays: a client that stands
// still in its call shuts out others from the next daemon's, too.
void Channel::beginStop()
{
    m_isStopping = true;
    m_in.remove();
    m_sweepsLeft = sweepCount;
    sweep();
}

void Channel::takeInput(const Answer& answer)
{
    const auto message = m_in.take();
    if (!message) {
        return;
    }
    if (m_isStopping) {
        m_in.close();
    } else {
        m_in.reopen();
    }
    reply(replyTo(*message, answer));
}

std::string Channel::replyTo(const CommandFifo::Message& message, const Answer& answer) const
{
    if (m_isStopping) {
        return withCode(DaemonTerminates);
    }
    if (message.isTooLong) {
        logEvent("{}: message of more than {} bytes refused", m_service,
                 CommandFifo::largestMessage);
        return withCode(BadCommand);
    }
    if (message.text.empty()) {
        logStep("{}: a client closed the command FIFO without a message", m_service);
        return withCode(CommandUnexpectedEnding);
    }
    return answer(message.text);
}

bool Channel::isShort() const
{
    return m_reply.isToBeLookedAt() || (m_in.isToBeReopened() && !m_isStopping);
}

void Channel::doWhatWasShort()
{
    if (m_in.isToBeReopened() && !m_isStopping) {
        m_in.reopen();
    }
    if (m_reply.isToBeLookedAt()) {
        m_reply.lookAgain();
        answerFormerCall();
    }
}

void Channel::takeNotices()
{
    alignas(inotify_event) char bytes[4096];
    for (ssize_t count; (count = ::read(m_notices.get(), bytes, sizeof bytes)) > 0;) {
        for (const char* at = bytes; at < bytes + count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            const bool isAnything = (event->mask & IN_Q_OVERFLOW) != 0;
            if (isAnything || m_reply.isOpening(*event)) {
                m_reply.dropIfTaken();
                answerFormerCall();
            }
            if (isAnything || m_lock.isClosing(*event)) {
                m_sweepsLeft = m_isStopping ? m_sweepsLeft : sweepCount;
                sweep();
            }
            at += sizeof(inotify_event) + event->len;
        }
    }
}

void Channel::reply(std::string text)
{
    if (!m_reply.give(std::move(text))) {
        logStep("{}: no reply FIFO for the answer", m_service);
    }
}

// A client that sent its message to a daemon that is gone has an answer, too.
void Channel::answerFormerCall()
{
    if (m_reply.isAwaited() && !m_in.isReady()) {
        reply(withCode(DaemonTerminates));
    }
}

void Channel::sweep()
{
    if (!m_reply.isThere()) {
        m_reply.drop();
        if (!m_isStopping) {
            return;
        }
    }
    if (!keepClientsOut()) {
        sweepAgainSoon();
        return;
    }
    removeLeftReplyFifo();
    m_lock.letClientsIn();
    m_isDone = m_isStopping;
}

void Channel::removeLeftReplyFifo()
{
    if (m_reply.isThere() && m_reply.remove()) {
        logEvent("{}: a client ended within its call; its reply FIFO is removed", m_service);
    }
    m_reply.drop();
}

void Channel::sweepAgainSoon()
{
    if (m_sweepsLeft > 0) {
        startTimer(m_timer, sweepPauses[sweepCount - m_sweepsLeft]);
        --m_sweepsLeft;
    } else {
        m_isDone = m_isStopping;
    }
}

} // namespace ostreld
