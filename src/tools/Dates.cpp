#include <ostrel/Tools.h>

#include <chrono>

namespace ostrel
{

namespace
{

constexpr int daysBeforeMonth[2][12] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335},
};

// Results are sums of 32 bits that may wrap. They are computed in 64 bits and cut, because
// the overflow of an int is undefined.
int cutToInt(std::int64_t number)
{
    return static_cast<int>(number);
}

struct YearAndMonth {
    int year;
    int month; // 0 to 11
};

YearAndMonth normalised(const std::tm& time)
{
    std::int64_t year = std::int64_t{time.tm_year} + 1900;
    std::int64_t month = time.tm_mon;
    if (month >= 12) {
        year += month / 12;
        month %= 12;
    } else if (month < 0) {
        const std::int64_t years = (11 - month) / 12;
        year -= years;
        month += 12 * years;
    }
    return {cutToInt(year), cutToInt(month)};
}

} // namespace

bool Tools::is_leap(int year)
{
    if (year % 400 == 0) {
        return true;
    }
    return year % 100 != 0 && (year & 3) == 0;
}

int Tools::days_from_0(int year)
{
    const std::int64_t years = std::int64_t{year} - 1;
    return cutToInt(365 * years + years / 4 - years / 100 + years / 400);
}

int Tools::days_from_1970(int year)
{
    static const int daysBefore1970 = days_from_0(1970);
    return cutToInt(std::int64_t{days_from_0(year)} - daysBefore1970);
}

int Tools::days_from_1jan(int year, int month, int day)
{
    return cutToInt(std::int64_t{daysBeforeMonth[is_leap(year)][month - 1]} + day - 1);
}

std::int64_t Tools::getInternalTimeGmt(const std::tm* time)
{
    const YearAndMonth date = normalised(*time);
    const std::int64_t daysOfYear = days_from_1jan(date.year, date.month + 1, time->tm_mday);
    const int days = cutToInt(daysOfYear + days_from_1970(date.year));
    return time->tm_sec + std::int64_t{time->tm_min} * 60 + std::int64_t{time->tm_hour} * 3600 +
           std::int64_t{days} * 86400;
}

int Tools::getSecondBeforeReachTimestamp(int timestamp)
{
    using namespace std::chrono;
    const std::int64_t now =
        duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
    return cutToInt(timestamp - now / 1000000000);
}

} // namespace ostrel
