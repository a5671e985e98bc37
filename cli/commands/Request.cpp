#include "commands/Request.h"

#include <algorithm>
#include <ctime>

namespace ostrelctl
{

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

namespace
{

constexpr milliseconds firstPause{10};
constexpr milliseconds longestPause{500};

void sleepFor(milliseconds time)
{
    const timespec duration{static_cast<std::time_t>(time.count() / 1000),
                            static_cast<long>(time.count() % 1000) * 1'000'000};
    // A signal that ends the pause is found by the check.
    ::nanosleep(&duration, nullptr);
    Deadline::check();
}

} // namespace

Pauses::Pauses(milliseconds all) : m_end(Clock::now() + all), m_next(firstPause) {}

bool Pauses::wait()
{
    const auto left = std::chrono::duration_cast<milliseconds>(m_end - Clock::now());
    if (left <= milliseconds::zero()) {
        return false;
    }
    sleepFor(std::min(m_next, left));
    m_next = std::min(m_next * 3 / 2, longestPause);
    return true;
}

} // namespace ostrelctl
