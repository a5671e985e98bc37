#pragma once

// Requests to the daemon, repeated while the service is locked.

#include "engine/Command.h"
#include "engine/Deadline.h"
#include "engine/Progress.h"

#include <ostrelApi/CallError.h>
#include <ostrelApi/ReturnCode.h>

#include <chrono>
#include <optional>
#include <type_traits>

namespace ostrelctl
{

/// The pauses between two attempts: short at first, then longer, and in all not
/// longer than given.
class Pauses
{
public:
    explicit Pauses(std::chrono::milliseconds all);

    /// Waits; false when no time is left. Throws as Deadline::check() does.
    bool wait();

private:
    std::chrono::steady_clock::time_point m_end;
    std::chrono::milliseconds m_next;
};

/// A reply that a signal cut short can look complete.
template <class Call>
auto completeReplyTo(const Call& call) -> decltype(call())
{
    if constexpr (std::is_void_v<decltype(call())>) {
        call();
        Deadline::check();
    } else {
        auto reply = call();
        Deadline::check();
        return reply;
    }
}

/// The line on a terminal while the daemon creates a key.
class KeyProgress
{
public:
    explicit KeyProgress(const Invocation& invocation)
    {
        if (invocation.createsKey()) {
            m_progress.emplace().show("generating the key ...");
        }
    }

private:
    std::optional<Progress> m_progress;
};

/// Makes a call that sends a request, and makes it again while the service is
/// locked, for the time of --wait.
template <class Call>
auto request(const Invocation& invocation, const Call& call) -> decltype(call())
{
    const KeyProgress progress(invocation);
    Pauses pauses(std::chrono::seconds(invocation.number("--wait")));
    for (;;) {
        Deadline::check();
        try {
            return completeReplyTo(call);
        } catch (const ostrelApi::CallError& caught) {
            if (caught.getReturnCode() != ostrelApi::ApiLocked || !pauses.wait()) {
                throw;
            }
        }
    }
}

} // namespace ostrelctl
