#pragma once

#include <chrono>
#include <ctime>

namespace ostreld
{

/// Seconds since 1970 UTC. std::time() may lag a tick behind the timers: a check that a timer
/// starts would see the second before.
inline std::time_t currentTime()
{
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

} // namespace ostreld
