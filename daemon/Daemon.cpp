#include "Daemon.h"

#include "Log.h"

#include <ostrel/DaemonConfiguration.h>

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
    Descriptor ready(readyDescriptor);
    updateServices();
    writePidFile();
    const NotificationFifo notifications;
    logEvent("serving {} services", m_services.size());
    if (ready.isOpen()) {
        writeAll(ready, "\n");
        ready.close();
    }
    serve(notifications);
    logEvent("ending");
    // All at once: a client that stands still delays the end of one service.
    for (const auto& entry : m_services) {
        entry.second->stop();
    }
    m_services.clear();
}

void Daemon::serve(const NotificationFifo& notifications)
{
    for (;;) {
        pollfd entries[] = {
            {m_signals.get(), POLLIN, 0},
            {notifications.descriptor().get(), POLLIN, 0},
        };
        ::poll(entries, sizeof entries / sizeof *entries, -1);
        if (entries[1].revents != 0) {
            takeNotifications(notifications);
        }
        if (entries[0].revents != 0) {
            if (nextSignal(m_signals) != SIGHUP) {
                return;
            }
            logEvent("reading the configuration again");
            updateServices();
        }
    }
}

void Daemon::takeNotifications(const NotificationFifo& notifications)
{
    for (const char notification : notifications.take()) {
        switch (notification) {
        case 'n':
            logEvent("the network changed");
            askAll(Task::CheckNetwork);
            break;
        case 't':
            logEvent("the time changed");
            askAll(Task::CheckExpiry);
            break;
        default:
            logEvent("notification {} is unknown", static_cast<int>(notification));
        }
    }
}

void Daemon::askAll(Task task)
{
    for (const auto& [name, service] : m_services) {
        service->ask(task);
    }
}

void Daemon::updateServices()
{
    auto former = std::move(m_services);
    m_services.clear();
    for (const std::string& name : ostrel::ServiceConfiguration::getServiceList()) {
        const auto known = former.find(name);
        if (known != former.end()) {
            known->second->ask(Task::Reload);
            m_services.insert(former.extract(known));
        } else {
            startService(name);
        }
    }
}

// A service with a fault in its configuration keeps no other from being served.
void Daemon::startService(const std::string& name)
{
    try {
        m_services.emplace(
            name, std::make_unique<ServiceThread>(
                      name, [this](const auto& script, const auto& service, const auto& event) {
                          m_callbacks.add(script, service, event);
                      }));
        logEvent("{}: served", name);
    } catch (const std::exception& caught) {
        logEvent("{}: not served: {}", name, caught.what());
    }
}

} // namespace ostreld
