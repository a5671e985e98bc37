#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace ostreld
{

/// Runs the services' callback scripts one after the other, in a thread of its
/// own, so that a slow script delays no client. A script's failure is logged
/// and changes nothing. Any thread may call add().
class Callbacks
{
public:
    Callbacks();
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
    std::thread m_thread;
};

} // namespace ostreld
