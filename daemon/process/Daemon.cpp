#include "process/Daemon.h"

#include "base/Log.h"

#include <ostrel/DaemonConfiguration.h>

#include <algorithm>
#include <csignal>

#include <poll.h>
#include <sys/file.h>
#include <sys/signalfd.h>
#include <sys/stat.h>

namespace ostreld
{

using ostrel::DaemonConfiguration;
using ostrel::Descriptor;

namespace
{

constexpr mode_t everybodyReadsMode = 0644;

const struct {
    char byte;
    Task task;
    const char* text;
} notificationRows[] = {
    {'n', Task::CheckNetwork, "the network changed"},
    {'t', Task::CheckExpiry, "the time changed"},
};

Descriptor takeLock(const std::string& path)
{
    Descriptor lock = Descriptor::open(path, O_RDWR | O_CREAT | O_NOFOLLOW, everybodyReadsMode);
    if (!lock.isOpen()) {
        failSystemCall("open", path);
    }
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
        throw Refusal(AlreadyRunning, "another ostreld holds " + path);
    }
    return lock;
}

// The signals that end the daemon or make it reload, as a descriptor. Blocked
// here, before any thread is made, so that no thread is interrupted by them.
Descriptor openSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
}

std::uint32_t nextSignal(const Descriptor& signals)
{
    signalfd_siginfo info{};
    while (::read(signals.get(), &info, sizeof info) == -1 && errno == EINTR) {
    }
    return info.ssi_signo;
}

void writePidFile()
{
    const std::string path = DaemonConfiguration::getPidFile();
    const Descriptor file =
        Descriptor::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW, everybodyReadsMode);
    if (!file.isOpen() || !writeAll(file, std::to_string(::getpid()) + '\n')) {
        failSystemCall("write", path);
    }
    ::fchmod(file.get(), everybodyReadsMode);
}

} // namespace

Daemon::Daemon() : m_lock(takeLock(DaemonConfiguration::getLockFile())), m_signals(openSignals()) {}

Daemon::~Daemon()
{
    ::unlink(DaemonConfiguration::getPidFile().c_str());
}

void Daemon::run(int readyDescriptor)
{
    m_ready = Descriptor(readyDescriptor);
    ::fcntl(m_ready.get(), F_SETFD, FD_CLOEXEC);
    const NotificationFifo notifications;
    m_services.begin();
    serve(notifications);
    logEvent("ending");
    m_services.stop();
}

void Daemon::serve(const NotificationFifo& notifications)
{
    bool isServing = true;
    while (isServing) {
        if (!m_isReady && m_services.areUp()) {
            tellReady();
        }
        pollfd entries[] = {
            {m_signals.get(), POLLIN, 0},
            {notifications.descriptor().get(), POLLIN, 0},
            {m_services.progress().get(), POLLIN, 0},
        };
        ::poll(entries, sizeof entries / sizeof *entries, -1);
        if (entries[1].revents != 0) {
            takeNotifications(notifications);
        }
        if (entries[2].revents != 0) {
            m_services.tend();
        }
        isServing = entries[0].revents == 0 || takeSignal();
    }
}

void Daemon::tellReady()
{
    m_isReady = true;
    writePidFile();
    logEvent("serving {} services", m_services.count());
    if (m_ready.isOpen()) {
        writeAll(m_ready, "\n");
        m_ready.close();
    }
}

bool Daemon::takeSignal()
{
    if (nextSignal(m_signals) != SIGHUP) {
        return false;
    }
    logEvent("reading the configuration again");
    m_services.update();
    return true;
}

// Many at once say no more than one, and are worth one line.
void Daemon::takeNotifications(const NotificationFifo& notifications)
{
    const std::string bytes = notifications.take();
    std::size_t known = 0;
    for (const auto& [byte, task, text] : notificationRows) {
        const auto count = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), byte));
        if (count > 0) {
            logEvent("{} (notifications: {})", text, count);
            m_services.askAll(task);
        }
        known += count;
    }
    if (known < bytes.size()) {
        logEvent("unknown notifications: {}, the first {}", bytes.size() - known,
                 static_cast<int>(bytes[bytes.find_first_not_of("nt")]));
    }
}

} // namespace ostreld
