#pragma once

#include "process/NotificationFifo.h"
#include "process/Services.h"

#include "tools/Descriptor.h"

namespace ostreld
{

/// The daemon as a whole: all configured services, from start to end.
class Daemon
{
public:
    /// Takes the lock of the daemon; throws Refusal, "Daemon is already
    /// running", when another process has it.
    Daemon();
    ~Daemon();

    /// Serves until SIGTERM or SIGINT; SIGHUP reads the services'
    /// configurations again, and a notification has them look at what changed.
    /// Once every service answers, writes a line feed into `readyDescriptor`
    /// (unless it is -1) and closes it.
    void run(int readyDescriptor);

private:
    void tellReady();
    void serve(const NotificationFifo& notifications);
    void takeNotifications(const NotificationFifo& notifications);
    /// False for a signal that ends the daemon.
    bool takeSignal();

    ostrel::Descriptor m_lock;
    // Before the first thread, which inherits what signals are blocked.
    ostrel::Descriptor m_signals;
    ostrel::Descriptor m_ready;
    bool m_isReady = false;
    Services m_services;
};

} // namespace ostreld
