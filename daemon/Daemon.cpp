#include "Daemon.h"

#include "Log.h"

#include <ostrel/DaemonConfiguration.h>

#include <csignal>

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

ServiceThread::ServiceThread(const std::string& name)
    : m_service(name), m_channel(m_service.pipeDirectory(), name, m_service.group()),
      m_thread([this] { serve(); })
{
}

ServiceThread::~ServiceThread()
{
    stop();
    m_thread.join();
}

void ServiceThread::stop()
{
    m_channel.stop();
}

void ServiceThread::serve()
{
    try {
        m_channel.run([this](const std::string& message) { return answer(message); },
                      [this] { reloadIfAsked(); });
    } catch (const std::exception& caught) {
        logEvent("{}: no longer served: {}", m_service.name(), caught.what());
    }
    m_channel.end();
}

std::string ServiceThread::answer(const std::string& message)
{
    const gid_t formerGroup = m_service.group();
    const std::string reply = m_service.answer(message);
    // A "reload" may have changed who may call.
    if (m_service.group() != formerGroup) {
        m_channel.shareWith(m_service.group());
    }
    return reply;
}

void ServiceThread::reload()
{
    m_isReloadAsked = true;
    m_channel.wake();
}

void ServiceThread::reloadIfAsked()
{
    if (!m_isReloadAsked.exchange(false)) {
        return;
    }
    try {
        m_service.reload();
        m_channel.shareWith(m_service.group());
        logEvent("{}: configuration read again", m_service.name());
    } catch (const std::exception& caught) {
        logEvent("{}: the former configuration stays: {}", m_service.name(), caught.what());
    }
}

Daemon::Daemon() : m_lock(takeLock(DaemonConfiguration::getLockFile())) {}

Daemon::~Daemon()
{
    ::unlink(DaemonConfiguration::getPidFile().c_str());
}

void Daemon::run(int readyDescriptor)
{
    const Descriptor signals = openSignals();
    Descriptor ready(readyDescriptor);
    updateServices();
    writePidFile();
    logEvent("serving {} services", m_services.size());
    if (ready.isOpen()) {
        writeAll(ready, "\n");
        ready.close();
    }
    while (nextSignal(signals) == SIGHUP) {
        logEvent("reading the configuration again");
        updateServices();
    }
    logEvent("ending");
    // All at once: a client that stands still delays the end of one service.
    for (const auto& entry : m_services) {
        entry.second->stop();
    }
    m_services.clear();
}

void Daemon::updateServices()
{
    auto former = std::move(m_services);
    m_services.clear();
    for (const std::string& name : ostrel::ServiceConfiguration::getServiceList()) {
        const auto known = former.find(name);
        if (known != former.end()) {
            known->second->reload();
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
        m_services.emplace(name, std::make_unique<ServiceThread>(name));
        logEvent("{}: served", name);
    } catch (const std::exception& caught) {
        logEvent("{}: not served: {}", name, caught.what());
    }
}

} // namespace ostreld
