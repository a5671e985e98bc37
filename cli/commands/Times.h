#pragma once

#include <cstdint>
#include <string>

namespace ostrelctl
{

/// Whole days from now to `time`, rounded down; negative when it is past.
std::int64_t daysUntil(std::int64_t time);

/// "2026-03-01T12:00:00Z"; the number itself for a year without four digits.
std::string timeText(std::int64_t time);

} // namespace ostrelctl
