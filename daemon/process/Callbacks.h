#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ostreld
{

/// Runs a service's callback scripts one after the other, in a thread of its
/// own, so that a slow script delays no client, and no other service's scripts.
/// A script's failure is logged and changes nothing. One thread calls add().
class Callbacks
{
public:
    Callbacks() = default;
    /// Drops what has not begun, and waits for what has.
    ~Callbacks();
    Callbacks(const Callbacks&) = delete;
    Callbacks& operator=(const Callbacks&) = delete;

    /// Has `script`, a name in the scripts' directory or a path, run with the
    /// service's name and the event as its arguments. No script, no call.
    void add(const std::string& script, const std::string& service, const std::string& event);

private:
    void run();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::vector<std::string>> m_calls;
    bool m_isEnding = false;
    // From the first call on: many services have no script.
    std::thread m_thread;
};

} // namespace ostreld
