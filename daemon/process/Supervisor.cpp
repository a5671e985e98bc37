#include "process/Supervisor.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/Refusal.h"
#include "exchange/Exchange.h"
#include "process/ServiceProcess.h"
#include "process/ServiceStart.h"

#include "tools/ErrorText.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace ostreld
{

namespace fs = std::filesystem;
using ostrel::DaemonConfiguration;
using ostrel::Descriptor;

namespace
{

constexpr mode_t everybodyReadsMode = 0644;
constexpr std::chrono::seconds stopPatience{15};
constexpr std::chrono::seconds longService{60};

const struct {
    char byte;
    int signal;
    const char* text;
} notificationRows[] = {
    {'n', SIGUSR1, "the network changed"},
    {'t', SIGUSR2, "the time changed"},
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

// The pause before a service is started again after its n-th failure.
std::chrono::seconds pauseAfter(int failures, bool isCrash)
{
    constexpr int mostDoublings = 6;
    const bool isFirstCrash = isCrash && failures == 1;
    return std::chrono::seconds(isFirstCrash ? 0 : 1 << std::min(failures - 1, mostDoublings));
}

// getServiceList() is also empty if the directory cannot be read, which must end no service.
bool isServiceDirectoryReadable()
{
    const std::string path = DaemonConfiguration::getServiceConfigDirectory();
    const bool isReadable = Descriptor::open(path, O_RDONLY | O_DIRECTORY).isOpen();
    if (!isReadable) {
        logEvent("what is served stays: cannot read {}: {}", path, ostrel::errorText(errno));
    }
    return isReadable;
}

bool isConfigurationGone(const std::string& service)
{
    const std::string directory = DaemonConfiguration::getServiceConfigDirectory();
    struct stat status {
    };
    return ::lstat((directory + '/' + service + ".conf").c_str(), &status) == 0
               ? !S_ISREG(status.st_mode)
               : errno == ENOENT;
}

} // namespace

Supervisor::Supervisor(const ProcessName& processName)
    : m_processName(processName), m_lock(takeLock(DaemonConfiguration::getLockFile())),
      m_signals(m_loop, {SIGTERM, SIGINT, SIGHUP, SIGCHLD, SIGUSR1, SIGUSR2},
                [this](int signal) { onSignal(signal); })
{
}

Supervisor::~Supervisor()
{
    ::unlink(DaemonConfiguration::getPidFile().c_str());
}

void Supervisor::run(int readyDescriptor)
{
    m_ready = Descriptor(readyDescriptor);
    ::fcntl(m_ready.get(), F_SETFD, FD_CLOEXEC);
    m_notifications.emplace();
    m_notificationSource = m_loop.onEvents(m_notifications->descriptor().get(), POLLIN,
                                           [this] { takeNotifications(); });
    update();
    retireOthers();
    tellIfReady();
    while (!m_loop.isStopped()) {
        runLoop();
    }
}

// Continues after any failure, such as a lack of memory, so that it ends no service.
void Supervisor::runLoop()
{
    constexpr std::chrono::milliseconds pause{100};
    try {
        for (auto& [name, process] : m_processes) {
            if (process.pid == -1 && process.stage != Stage::Pausing) {
                startLater(name, false);
            }
        }
        m_loop.run();
    } catch (const std::exception& caught) {
        orLog("the supervisor goes on", [&] { throw std::runtime_error(caught.what()); });
        std::this_thread::sleep_for(pause);
    }
}

// If the directory cannot be read, services stay as they are and it is read again later.
void Supervisor::update()
{
    if (isServiceDirectoryReadable()) {
        const auto list = ostrel::ServiceConfiguration::getServiceList();
        m_unreadableLists = 0;
        follow({list.begin(), list.end()});
    } else {
        m_retry = m_loop.after(pauseAfter(++m_unreadableLists, false), [this] { update(); });
    }
}

void Supervisor::follow(const std::set<std::string>& names)
{
    for (auto entry = m_processes.begin(); entry != m_processes.end();) {
        Process& process = entry->second;
        process.isToStartAgain = names.count(entry->first) != 0;
        const bool isOver = !process.isToStartAgain && endIfGone(entry->first, process);
        entry = isOver ? m_processes.erase(entry) : std::next(entry);
    }
    for (const std::string& name : names) {
        const Process& process = m_processes[name];
        if (process.stage == Stage::Pausing) {
            start(name);
        } else if (process.stage != Stage::Ending) {
            ::kill(process.pid, SIGHUP);
        }
    }
}

// Ends a service whose configuration is gone. Returns whether it has no process.
bool Supervisor::endIfGone(const std::string& name, Process& process)
{
    if (process.stage == Stage::Ending) {
        return false;
    }
    if (!isConfigurationGone(name)) {
        logEvent("{}: served on, with the former configuration", name);
        return false;
    }
    logEvent("{}: its configuration is gone", name);
    if (process.stage == Stage::Pausing) {
        return true;
    }
    process.stage = Stage::Ending;
    ::kill(process.pid, SIGTERM);
    return false;
}

// A killed daemon may have served services that are not configured any more.
void Supervisor::retireOthers()
{
    const fs::path pipes = DaemonConfiguration::getNamePipesDirectory();
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(pipes, ignored)) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_directory(ignored) || m_processes.count(name) != 0) {
            continue;
        }
        const pid_t pid = forkService(m_processName, name, Descriptor(), [&](Descriptor) {
            Exchange::retire(entry.path().string(), name);
            return 0;
        });
        m_retiring.insert(pid);
    }
}

void Supervisor::start(const std::string& name)
{
    Process& process = m_processes[name];
    process.pause.end();
    process.isToStartAgain = true;
    try {
        startChild(name, process);
    } catch (const std::exception& caught) {
        logEvent("{}: not started: {}", name, caught.what());
        startLater(name, false);
    }
}

void Supervisor::startChild(const std::string& name, Process& process)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        failSystemCall("make", "a pipe");
    }
    process.progress = Descriptor(ends[0]);
    process.pid = forkService(m_processName, name, Descriptor(ends[1]), [&](Descriptor progress) {
        return serveService(name, std::move(progress));
    });
    process.stage = Stage::Starting;
    process.start = Loop::Clock::now();
    process.progressSource =
        m_loop.onEvents(process.progress.get(), POLLIN, [this, &process] { onProgress(process); });
}

void Supervisor::onProgress(Process& process)
{
    char byte = '\0';
    if (::read(process.progress.get(), &byte, 1) == 1 && process.stage == Stage::Starting) {
        process.stage = Stage::Serving;
    }
    process.progressSource.end();
    process.progress.close();
    tellIfReady();
}

void Supervisor::onSignal(int signal)
{
    if (signal == SIGCHLD) {
        reap();
    } else if (signal == SIGTERM || signal == SIGINT) {
        stop();
    } else if (signal == SIGHUP && !m_isStopping) {
        logEvent("reading the configuration again");
        update();
    }
}

void Supervisor::reap()
{
    int status = 0;
    pid_t pid = 0;
    while ((pid = ::waitpid(-1, &status, WNOHANG)) > 0) {
        m_retiring.erase(pid);
        const auto found =
            std::find_if(m_processes.begin(), m_processes.end(),
                         [pid](const auto& entry) { return entry.second.pid == pid; });
        if (found != m_processes.end()) {
            found->second.pid = -1;
            onEnd(std::string(found->first), status);
        }
    }
    tellIfReady();
    if (m_isStopping && m_processes.empty() && m_retiring.empty()) {
        m_loop.stop();
    }
}

void Supervisor::onEnd(const std::string& name, int status)
{
    Process& process = m_processes[name];
    process.progressSource.end();
    if (m_isStopping || (process.stage == Stage::Ending && !process.isToStartAgain)) {
        m_processes.erase(name);
        return;
    }
    const bool isCrash = WIFSIGNALED(status);
    if (isCrash) {
        logEvent("{}: ended by signal {}", name, WTERMSIG(status));
    }
    const bool isAtOnce = process.stage == Stage::Ending ||
                          (!isCrash && WEXITSTATUS(status) == ServiceProcess::startAgain);
    process.stage = Stage::Pausing;
    if (isAtOnce) {
        start(name);
    } else {
        startLater(name, isCrash);
    }
}

void Supervisor::startLater(const std::string& name, bool isCrash)
{
    Process& process = m_processes[name];
    process.stage = Stage::Pausing;
    if (Loop::Clock::now() - process.start > longService) {
        process.failures = 0;
    }
    process.pause =
        m_loop.after(pauseAfter(++process.failures, isCrash), [this, name] { start(name); });
}

void Supervisor::signalAll(int signal) const
{
    for (const auto& [name, process] : m_processes) {
        if (process.pid != -1) {
            ::kill(process.pid, signal);
        }
    }
}

// Equal notifications count as one and give one line. It reads at most once a second, so that
// a flood of them costs little.
void Supervisor::takeNotifications()
{
    constexpr std::chrono::seconds quiet{1};
    const std::string bytes = m_notifications->take();
    std::size_t known = 0;
    for (const auto& [byte, signal, text] : notificationRows) {
        const auto count = static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), byte));
        if (count > 0) {
            logEvent("{} (notifications: {})", text, count);
            signalAll(signal);
        }
        known += count;
    }
    if (known < bytes.size()) {
        logEvent("unknown notifications: {}, the first {}", bytes.size() - known,
                 static_cast<int>(bytes[bytes.find_first_not_of("nt")]));
    }
    m_notificationSource.end();
    m_notificationPause = m_loop.after(quiet, [this] {
        m_notificationSource = m_loop.onEvents(m_notifications->descriptor().get(), POLLIN,
                                               [this] { takeNotifications(); });
    });
}

void Supervisor::tellIfReady()
{
    const auto isStarting = [](const auto& entry) { return entry.second.stage == Stage::Starting; };
    const auto isServing = [](const auto& entry) { return entry.second.stage == Stage::Serving; };
    if (m_isReady || m_isStopping || m_unreadableLists != 0 || !m_retiring.empty() ||
        std::any_of(m_processes.begin(), m_processes.end(), isStarting)) {
        return;
    }
    m_isReady = true;
    writePidFile();
    logEvent("serving {} services",
             std::count_if(m_processes.begin(), m_processes.end(), isServing));
    if (m_ready.isOpen()) {
        writeAll(m_ready, "\n");
        m_ready.close();
    }
}

void Supervisor::stop()
{
    if (std::exchange(m_isStopping, true)) {
        return;
    }
    logEvent("ending");
    signalAll(SIGTERM);
    for (auto entry = m_processes.begin(); entry != m_processes.end();) {
        entry = entry->second.pid == -1 ? m_processes.erase(entry) : std::next(entry);
    }
    m_retry = m_loop.after(stopPatience, [this] { signalAll(SIGKILL); });
    reap();
}

} // namespace ostreld
