#include "Channel.h"

#include "Files.h"
#include "Log.h"
#include "Refusal.h"

#include <cerrno>
#include <cstdint>

#include <poll.h>
#include <sys/eventfd.h>
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

constexpr std::size_t largestMessage = 64 * 1024;
// The group may open these for writing and no more.
constexpr mode_t groupWritesMode = 0620;

// A client that is killed tells that it closed the lock file a moment before
// it has done so: look again after these pauses. Together they are how long a
// daemon that ends waits for the client in its midst.
constexpr long sweepPauses[] = {5, 50, 500, 500};
constexpr std::size_t sweepCount = sizeof sweepPauses / sizeof *sweepPauses;

// A client that never ceases to write keeps the daemon from nothing else.
constexpr int readsInARow = 512;

constexpr long nanosecondsPerMillisecond = 1000000;

Descriptor requireOpen(Descriptor descriptor, const std::string& what)
{
    if (!descriptor.isOpen()) {
        failSystemCall("open", what);
    }
    return descriptor;
}

// While no daemon runs, a client can put a file of its own there.
void removeUnlessOwn(const std::string& path, mode_t type)
{
    struct stat status {
    };
    const bool isThere = ::lstat(path.c_str(), &status) == 0;
    if (isThere && ((status.st_mode & S_IFMT) != type || status.st_uid != ::geteuid())) {
        logEvent("{} is not the daemon's own: removed", path);
        ::unlink(path.c_str());
    }
}

void startTimer(const Descriptor& timer, long milliseconds)
{
    itimerspec time{};
    time.it_value.tv_sec = milliseconds / 1000;
    time.it_value.tv_nsec = milliseconds % 1000 * nanosecondsPerMillisecond;
    ::timerfd_settime(timer.get(), 0, &time, nullptr);
}

void drain(const Descriptor& counter)
{
    std::uint64_t ignored = 0;
    while (::read(counter.get(), &ignored, sizeof ignored) > 0) {
    }
}

std::string withCode(ReturnCode code)
{
    return std::to_string(code) + ' ';
}

} // namespace

Channel::Channel(const std::string& directory, const std::string& service, gid_t group)
    : m_service(service), m_directory(directory), m_lockPath(directory + '/' + service + ".lock"),
      m_inPath(directory + '/' + service + ".in"),
      m_notices(requireOpen(Descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), "inotify")),
      m_wake(requireOpen(Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), "an event")),
      m_timer(requireOpen(Descriptor(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
                          "a timer")),
      m_reply(directory + '/' + service + ".out", m_notices)
{
    removeUnlessOwn(m_inPath, S_IFIFO);
    if (::mkfifo(m_inPath.c_str(), S_IRUSR | S_IWUSR) != 0 && errno != EEXIST) {
        failSystemCall("make", m_inPath);
    }
    openCommandFifo();
    // Last, for it is what tells clients that the daemon is there.
    openLock();
    shareWith(group);
    takeUpFormerCall();
}

Channel::~Channel() = default;

void Channel::openCommandFifo()
{
    m_in = requireOpen(Descriptor::open(m_inPath, O_RDONLY | O_NONBLOCK | O_NOFOLLOW), m_inPath);
    if (!isFifo(m_in)) {
        throw std::runtime_error(m_inPath + " is not a FIFO");
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

void Channel::openLock()
{
    removeUnlessOwn(m_lockPath, S_IFREG);
    constexpr int flags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK;
    m_lock = requireOpen(Descriptor::open(m_lockPath, flags, S_IRUSR | S_IWUSR), m_lockPath);
    m_lockWatch = ::inotify_add_watch(m_notices.get(), m_lockPath.c_str(), IN_CLOSE_WRITE);
    if (m_lockWatch == -1) {
        failSystemCall("watch", m_lockPath);
    }
}

void Channel::shareWith(gid_t group)
{
    setAccess(m_in, m_inPath, {group, groupWritesMode});
    setAccess(m_lock, m_lockPath, {group, groupWritesMode});
    // Last: a client that finds it open finds nothing missing that it could make.
    setDirectoryAccess(m_directory, {group, pipeDirectoryMode});
}

bool Channel::tryLock()
{
    return ::flock(m_lock.get(), LOCK_EX | LOCK_NB) == 0;
}

void Channel::unlock()
{
    ::flock(m_lock.get(), LOCK_UN);
}

// A lease is given while nobody has the file open for writing, and makes those
// who open it then wait. The lock itself would make them fail. It is the last
// resort, for a client that merely has the file open forbids the lease.
bool Channel::keepClientsOut()
{
    return m_sweepsLeft > 0 ? ::fcntl(m_lock.get(), F_SETLEASE, F_RDLCK) == 0 : tryLock();
}

void Channel::letClientsIn()
{
    ::fcntl(m_lock.get(), F_SETLEASE, F_UNLCK);
    unlock();
}

void Channel::run(const Duties& duties)
{
    while (!m_isDone) {
        pollfd entries[] = {
            {m_in.get(), POLLIN, 0},
            {m_notices.get(), POLLIN, 0},
            {m_wake.get(), POLLIN, 0},
            {m_timer.get(), POLLIN, 0},
            {m_reply.blockedWriter(), POLLOUT, 0},
            {duties.clock, POLLIN, 0},
        };
        if (::poll(entries, sizeof entries / sizeof *entries, -1) == -1 && errno != EINTR) {
            failSystemCall("wait for", m_service);
        }
        // A message first: what the notices tell happened after it was written.
        for (int i = 0; i < readsInARow && isInputReady(); ++i) {
            takeInput(duties.answer);
        }
        takeNotices();
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

// Whether a client has the command FIFO open: then there is no end of file.
bool Channel::isMessageUnderWay() const
{
    char ignored = '\0';
    return m_in.isOpen() && ::read(m_in.get(), &ignored, 1) != 0;
}

// A client that stands still past the command FIFO would wait for its reply for
// ever. One before it is told that the daemon is off, or goes on with the next.
void Channel::end()
{
    ::unlink(m_inPath.c_str());
    if (m_reply.isAnswered() || isMessageUnderWay()) {
        m_reply.remove();
    }
    m_reply.drop();
    m_in.close();
}

void Channel::wake()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wake.get(), &one, sizeof one);
}

void Channel::stop()
{
    m_isStopAsked = true;
    wake();
}

void Channel::takeWake(const std::function<void()>& onWake)
{
    if (eventsOf(m_wake, POLLIN) == 0) {
        return;
    }
    drain(m_wake);
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
    ::unlink(m_inPath.c_str());
    m_sweepsLeft = sweepCount;
    sweep();
}

bool Channel::isInputReady() const
{
    return eventsOf(m_in, POLLIN) != 0;
}

void Channel::takeInput(const Answer& answer)
{
    char bytes[4096];
    const ssize_t count = ::read(m_in.get(), bytes, sizeof bytes);
    if (count > 0) {
        appendInput(bytes, static_cast<std::size_t>(count));
    } else if (count == 0) {
        if (m_isStopping) {
            m_in.close();
        } else {
            openCommandFifo();
        }
        takeMessage(answer);
    }
}

void Channel::appendInput(const char* bytes, std::size_t count)
{
    m_isMessageTooLong = m_isMessageTooLong || m_message.size() + count > largestMessage;
    if (!m_isMessageTooLong) {
        m_message.append(bytes, count);
    }
}

void Channel::takeMessage(const Answer& answer)
{
    const std::string message = std::move(m_message);
    const bool isTooLong = m_isMessageTooLong;
    m_message.clear();
    m_isMessageTooLong = false;
    if (m_isStopping) {
        reply(withCode(DaemonTerminates));
    } else if (isTooLong) {
        logEvent("{}: message of more than {} bytes refused", m_service, largestMessage);
        reply(withCode(BadCommand));
    } else if (message.empty()) {
        logStep("{}: a client closed the command FIFO without a message", m_service);
        reply(withCode(CommandUnexpectedEnding));
    } else {
        reply(answer(message));
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
            if (isAnything || event->wd == m_lockWatch) {
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
    if (m_reply.isAwaited() && !isInputReady()) {
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
    letClientsIn();
    m_isDone = m_isStopping;
}

void Channel::removeLeftReplyFifo()
{
    if (m_reply.isThere()) {
        logEvent("{}: a client ended within its call; its reply FIFO is removed", m_service);
        m_reply.remove();
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
