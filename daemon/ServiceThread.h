#pragma once

#include "Channel.h"
#include "ExpiryClock.h"
#include "Service.h"

#include <atomic>
#include <string>
#include <thread>

namespace ostreld
{

/// What the daemon asks of a service from outside of the service's thread.
enum class Task : unsigned int {
    Reload = 1,
    CheckExpiry = 2,
    CheckNetwork = 4,
};

/// One service in a thread of its own, so that none waits for another.
class ServiceThread
{
public:
    /// Starts serving: when this returns, clients may call. Throws as Service
    /// and Channel do.
    ServiceThread(const std::string& name, Service::OnChange onChange);
    /// Stops, and waits for the end of the thread.
    ~ServiceThread();
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    /// Has the thread do it soon; a failure is logged.
    void ask(Task task);

    /// Lets the call that is under way end, and serves no other.
    void stop();

private:
    void serve();
    std::string answer(const std::string& message);
    void doTasks();
    void checkExpiry();
    template <class Work>
    void attempt(const char* what, Work work);
    void followConfiguration();

    Service m_service;
    Channel m_channel;
    ExpiryClock m_clock;
    std::atomic<unsigned int> m_tasks{0};
    std::thread m_thread;
};

} // namespace ostreld
