#pragma once

#include "Channel.h"
#include "Service.h"

#include "tools/Descriptor.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <thread>

namespace ostreld
{

/// One service in a thread of its own, so that none waits for another.
class ServiceThread
{
public:
    /// Starts serving: when this returns, clients may call. Throws as Service
    /// and Channel do.
    explicit ServiceThread(const std::string& name);
    /// Stops, and waits for the end of the thread.
    ~ServiceThread();
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    /// Has the thread read the service's configuration again.
    void reload();

    /// Lets the call that is under way end, and serves no other.
    void stop();

private:
    void serve();
    std::string answer(const std::string& message);
    void reloadIfAsked();

    Service m_service;
    Channel m_channel;
    std::atomic<bool> m_isReloadAsked{false};
    std::thread m_thread;
};

/// The daemon as a whole: all configured services, from start to end.
class Daemon
{
public:
    /// Takes the lock of the daemon; throws Refusal, "Daemon is already
    /// running", when another process has it.
    Daemon();
    ~Daemon();

    /// Serves until SIGTERM or SIGINT; SIGHUP reads the services'
    /// configurations again. Once every service answers, writes a line feed
    /// into `readyDescriptor` (unless it is -1) and closes it.
    void run(int readyDescriptor);

private:
    void updateServices();
    void startService(const std::string& name);

    ostrel::Descriptor m_lock;
    std::map<std::string, std::unique_ptr<ServiceThread>> m_services;
};

} // namespace ostreld
