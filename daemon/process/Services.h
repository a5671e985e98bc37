#pragma once

#include "base/Event.h"
#include "process/ServiceThread.h"

#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace ostreld
{

/// The threads of all services. Nothing here waits for one of them, but stop().
/// For one thread.
class Services
{
public:
    /// update() for the first time. What a former daemon served, and nobody
    /// serves now, is off for its callers.
    void begin();

    /// Serves what the configuration names now: new services are started, known
    /// ones read their configurations again, and others end.
    void update();

    /// Readable when a service has come up or ended: tend() then.
    const ostrel::Descriptor& progress() const { return m_progress.descriptor(); }

    /// Clears away what has ended, and starts what had to wait for that.
    void tend();

    /// Whether no service has yet to come up.
    bool areUp() const;

    /// How many are served.
    std::size_t count() const;

    void askAll(Task task);

    /// Ends all of them: at once, for each can take a while.
    void stop();

private:
    void start(const std::string& name);
    void retireOthers() const;
    std::size_t countOf(ServiceThread::Stage stage) const;

    const Event m_progress{};
    // To be started once there is no former thread of the service.
    std::set<std::string> m_waiting;
    std::map<std::string, std::unique_ptr<ServiceThread>> m_threads;
};

} // namespace ostreld
