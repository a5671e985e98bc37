#include "process/ExpiryClock.h"

#include "base/Clock.h"
#include "base/Files.h"

#include <sys/timerfd.h>

namespace ostreld
{

namespace
{

constexpr std::time_t secondsPerDay = 86400;

std::time_t nextTime(std::time_t now, std::uint32_t offset)
{
    const std::time_t today = now - now % secondsPerDay + static_cast<std::time_t>(offset);
    return today > now ? today : today + secondsPerDay;
}

} // namespace

ExpiryClock::ExpiryClock() : m_timer(::timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK))
{
    if (!m_timer.isOpen()) {
        failSystemCall("make", "a timer");
    }
}

void ExpiryClock::arm(std::uint32_t offset)
{
    std::uint64_t ignored = 0;
    [[maybe_unused]] const ssize_t drained = ::read(m_timer.get(), &ignored, sizeof ignored);
    itimerspec time{};
    time.it_value.tv_sec = nextTime(currentTime(), offset);
    ::timerfd_settime(m_timer.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &time, nullptr);
}

} // namespace ostreld
