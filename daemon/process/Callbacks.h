#pragma once

#include "base/Child.h"
#include "base/Loop.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace ostreld
{

/// Runs the callback scripts of a service one after the other, each in a child process. The
/// failure of a script is logged and changes nothing.
class Callbacks
{
public:
    Callbacks(Loop& loop, std::string service);

    /// Queues `script`, a path or a name in the scripts' directory, with the service, the
    /// event and the ids as arguments. Does nothing if `script` is empty. Does not throw,
    /// because the change stands in any case.
    void add(const std::string& script, const std::string& event, const std::string& ids);

    /// Call it after each SIGCHLD.
    void reap();

    /// Drops the queued scripts, and calls `onEnd` when the running one has ended.
    void finish(Loop::Action onEnd);

    /// Kills the running script.
    void kill();

private:
    void runNext();
    void start(const std::vector<std::string>& words);
    void onScriptEnd(const std::string& event, const ChildEnd& end);

    Loop& m_loop;
    const std::string m_service;
    std::deque<std::vector<std::string>> m_waiting;
    std::unique_ptr<Child> m_script;
    Loop::Source m_next;
    Loop::Action m_onEnd;
};

} // namespace ostreld
