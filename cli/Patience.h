#pragma once

#include "Context.h"
#include "Deadline.h"
#include "ReturnCodes.h"

#include <ostrelApi/CallError.h>

#include <chrono>
#include <type_traits>

namespace ostrelctl
{

/// The pauses between tries at a service that is locked: short at first, longer
/// and longer, no longer in all than given.
class Patience
{
public:
    explicit Patience(std::chrono::milliseconds all);

    /// Waits; false when there is no time left to wait. Throws as
    /// Deadline::check().
    bool pause();

private:
    std::chrono::steady_clock::time_point m_end;
    std::chrono::milliseconds m_next;
};

/// An answer that a signal cut off reads like a whole one.
template <class Work>
auto wholeAnswerOf(const Work& work) -> decltype(work())
{
    if constexpr (std::is_void_v<decltype(work())>) {
        work();
        Deadline::check();
    } else {
        auto answer = work();
        Deadline::check();
        return answer;
    }
}

/// Does what asks the daemon, again while the service is locked and --wait
/// gives time.
template <class Work>
auto asking(const Context& context, const Work& work) -> decltype(work())
{
    Patience patience(std::chrono::seconds(context.invocation.number("--wait")));
    for (;;) {
        Deadline::check();
        try {
            return wholeAnswerOf(work);
        } catch (const ostrelApi::CallError& caught) {
            if (caught.getReturnCode() != ostrelApi::ApiLocked || !patience.pause()) {
                throw;
            }
        }
    }
}

} // namespace ostrelctl
