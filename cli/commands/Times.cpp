#include "commands/Times.h"

#include <cxxtools/date.h>
#include <fmt/format.h>

#include <ctime>

namespace ostrelctl
{

namespace
{

constexpr std::int64_t day = 86400;
// The first and the last second whose year has four digits.
constexpr std::int64_t firstTime = -62167219200;
constexpr std::int64_t lastTime = 253402300799;

} // namespace

std::int64_t daysUntil(std::int64_t time)
{
    const std::int64_t left = time - std::time(nullptr);
    return left >= 0 ? left / day : -((-left + day - 1) / day);
}

std::string timeText(std::int64_t time)
{
    if (time < firstTime || time > lastTime) {
        return std::to_string(time);
    }
    // By days, for a time_t may have 32 bits.
    const std::int64_t days = time / day - (time % day < 0 ? 1 : 0);
    const std::int64_t rest = time - days * day;
    const cxxtools::Date date = cxxtools::Date(1970, 1, 1) + static_cast<int>(days);
    return fmt::format("{}T{:02}:{:02}:{:02}Z", date.toString("%Y-%m-%d"), rest / 3600,
                       rest / 60 % 60, rest % 60);
}

} // namespace ostrelctl
