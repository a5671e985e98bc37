#pragma once

#include <chrono>
#include <ctime>

namespace ostreld
{

/// Seconds since 1970 UTC. std::time() may lag a tick behind the timers, and a
/// check that one of them starts would meet the second before its own.
inline std::time_t currentTime()
{
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

} // namespace ostreld
