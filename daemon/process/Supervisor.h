#pragma once

#include "base/Loop.h"
#include "process/NotificationFifo.h"
#include "process/ProcessName.h"
#include "process/Signals.h"

#include "tools/Descriptor.h"

#include <map>
#include <optional>
#include <set>
#include <string>

namespace ostreld
{

/// Supervises the processes of the services. It starts one for each, passes reload, stop and
/// notifications on as signals, and starts processes again that ended, with a growing pause.
/// It opens no store, reads no message, and waits for no service.
class Supervisor
{
public:
    /// Locks the daemon's lock file; throws Refusal, "Daemon is already running", if another
    /// process holds it.
    explicit Supervisor(const ProcessName& processName);
    ~Supervisor();
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    /// Serves until SIGTERM or SIGINT. SIGHUP reads the list of services again. SIGUSR1 and
    /// SIGUSR2 have no effect here. When every service answers or has failed, writes a line
    /// feed into `readyDescriptor` (unless it is -1) and closes it.
    void run(int readyDescriptor);

private:
    enum class Stage { Starting, Serving, Ending, Pausing };

    // `pid` is valid in each stage except Pausing.
    struct Process {
        Stage stage = Stage::Pausing;
        pid_t pid = -1;
        int failures = 0;
        bool isToStartAgain = false;
        Loop::Clock::time_point start;
        ostrel::Descriptor progress;
        Loop::Source progressSource;
        Loop::Source pause;
    };

    void runLoop();
    void update();
    void follow(const std::set<std::string>& names);
    bool endIfGone(const std::string& name, Process& process);
    void retireOthers();
    void start(const std::string& name);
    void startChild(const std::string& name, Process& process);
    [[noreturn]] void serve(const std::string& name, ostrel::Descriptor progress);
    void onProgress(Process& process);
    void onSignal(int signal);
    void reap();
    void onEnd(const std::string& name, int status);
    void startLater(const std::string& name, bool isCrash);
    void takeNotifications();
    void signalAll(int signal) const;
    void tellIfReady();
    void stop();

    const ProcessName& m_processName;
    const ostrel::Descriptor m_lock;
    Loop m_loop;
    Signals m_signals;
    std::optional<NotificationFifo> m_notifications;
    Loop::Source m_notificationSource;
    Loop::Source m_notificationPause;
    Loop::Source m_retry;
    int m_unreadableLists = 0;
    ostrel::Descriptor m_ready;
    bool m_isReady = false;
    bool m_isStopping = false;
    std::map<std::string, Process> m_processes;
    // Processes for services that are not configured any more, see Exchange::retire().
    std::set<pid_t> m_retiring;
};

} // namespace ostreld
