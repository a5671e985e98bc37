#pragma once

#include "commands/Service.h"
#include "exchange/Channel.h"
#include "process/Callbacks.h"
#include "process/ExpiryClock.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
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

/// One service in a thread of its own, from what is to be done before the first
/// call to the end of the last one, so that no service waits for another.
class ServiceThread
{
public:
    enum class Stage { Starting, Serving, Ended };

    /// Starts the thread. It calls `onStage` whenever it has reached another
    /// stage: the end, too, when the service cannot be served, which it logs.
    ServiceThread(std::string name, std::function<void()> onStage);
    /// Stops, and waits for the end of the thread.
    ~ServiceThread();
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    Stage stage() const { return m_stage; }

    /// Has the thread do it soon; a failure is logged. One that is to end does
    /// nothing more.
    void ask(Task task);

    /// Lets the call that is under way end, and serves no other.
    void stop();

    /// Whether it has been told to end, or ends by itself.
    bool isToEnd() const { return m_isToEnd; }

private:
    void run();
    void advanceTo(Stage stage);
    void serve();
    void tellChange(const std::string& script, const std::string& event);
    void openChannel();
    void giveUp();
    void end();
    std::string answer(const std::string& message);
    void doTasks();
    void checkExpiry();
    template <class Work>
    void attempt(const char* what, Work work);
    void followConfiguration();

    const std::string m_name;
    const std::function<void()> m_onStage;
    std::atomic<Stage> m_stage{Stage::Starting};
    std::atomic<bool> m_isToEnd{false};
    std::atomic<unsigned int> m_tasks{0};

    // The thread ends it, so that nobody else waits for a script.
    std::optional<Callbacks> m_callbacks;
    std::optional<Service> m_service;
    std::optional<ExpiryClock> m_clock;
    // Made by the thread, and used by others: that it is there is guarded.
    std::mutex m_mutex;
    std::optional<Channel> m_channel;
    std::thread m_thread;
};

} // namespace ostreld
