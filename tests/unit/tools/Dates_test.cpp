#include <ostrel/Tools.h>

#include <gtest/gtest.h>

#include <climits>

namespace
{

using ostrel::Tools;

struct LeapRow {
    int year;
    bool expected;
};

TEST(LeapYears, FollowTheGregorianRule)
{
    const LeapRow rows[] = {
        {2000, true},  {1900, false}, {2024, true}, {2023, false}, {2100, false}, {2400, true},
        {1600, true},  {4, true},     {1, false},   {0, true},     {-4, true},    {-1, false},
        {-100, false}, {-400, true},  {-2, false},  {2022, false}, {1972, true},
    };
    for (const LeapRow& row : rows) {
        EXPECT_EQ(Tools::is_leap(row.year), row.expected) << row.year;
    }
}

struct YearRow {
    int year;
    int from0;
};

TEST(DaysFrom0, CountsTheDaysBeforeAYear)
{
    const YearRow rows[] = {
        {1, 0},
        {2, 365},
        {5, 1461},
        {101, 36524},
        {401, 146097},
        {1970, 719162},
        {1971, 719527},
        {2000, 730119},
        {2001, 730485},
        // Division truncates towards zero, so the first leap day before year 1 counts from year -3
        // on.
        {0, -365},
        {-1, -730},
        {-2, -1095},
        {-3, -1461},
    };
    for (const YearRow& row : rows) {
        EXPECT_EQ(Tools::days_from_0(row.year), row.from0) << row.year;
        EXPECT_EQ(Tools::days_from_1970(row.year), row.from0 - 719162) << row.year;
    }
}

TEST(DaysFrom1970, GrowsByTheLengthOfEachYear)
{
    EXPECT_EQ(Tools::days_from_1970(1970), 0);
    EXPECT_EQ(Tools::days_from_1970(1969), -365);
    for (int year = 1; year < 3000; ++year) {
        const int length = Tools::is_leap(year) ? 366 : 365;
        ASSERT_EQ(Tools::days_from_1970(year + 1) - Tools::days_from_1970(year), length) << year;
    }
}

struct DateRow {
    int year;
    int month;
    int day;
    int expected;
};

TEST(DaysFrom1January, CountsTheDaysWithinAYear)
{
    const DateRow rows[] = {
        {2023, 1, 1, 0},     {2023, 2, 1, 31},    {2023, 3, 1, 59},   {2023, 4, 1, 90},
        {2023, 5, 1, 120},   {2023, 6, 1, 151},   {2023, 7, 1, 181},  {2023, 8, 1, 212},
        {2023, 9, 1, 243},   {2023, 10, 1, 273},  {2023, 11, 1, 304}, {2023, 12, 1, 334},
        {2024, 1, 1, 0},     {2024, 2, 1, 31},    {2024, 3, 1, 60},   {2024, 4, 1, 91},
        {2024, 5, 1, 121},   {2024, 6, 1, 152},   {2024, 7, 1, 182},  {2024, 8, 1, 213},
        {2024, 9, 1, 244},   {2024, 10, 1, 274},  {2024, 11, 1, 305}, {2024, 12, 1, 335},
        {2023, 12, 31, 364}, {2024, 12, 31, 365}, {2023, 2, 29, 59},  {2023, 1, 0, -1},
        {2023, 1, -9, -10},  {2023, 1, 400, 399},
    };
    for (const DateRow& row : rows) {
        EXPECT_EQ(Tools::days_from_1jan(row.year, row.month, row.day), row.expected)
            << row.year << '-' << row.month << '-' << row.day;
    }
}

std::tm timeOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0)
{
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    return time;
}

struct TimeRow {
    const char* sentence;
    std::tm time; // months from 0
    std::int64_t expected;
};

TEST(InternalTime, IsSecondsSince1970)
{
    const TimeRow rows[] = {
        {"the epoch", timeOf(1970, 0, 1), 0},
        {"the second before it", timeOf(1969, 11, 31, 23, 59, 59), -1},
        {"every field", timeOf(2009, 1, 13, 23, 31, 30), 1234567890},
        {"after a leap day", timeOf(2000, 2, 1), 951868800},
        {"beyond 32 bits", timeOf(2038, 0, 19, 3, 14, 8), 2147483648},
        {"the year 1", timeOf(1, 0, 1), -62135596800},
        {"month 12 is January of the next year", timeOf(1999, 12, 1), 946684800},
        {"month 23 is its December", timeOf(1998, 23, 1), 944006400},
        {"month 24 is January of the year after", timeOf(1998, 24, 1), 946684800},
        {"month -1 is December of the previous year", timeOf(2000, -1, 1), 944006400},
        {"month -12 is January of the previous year", timeOf(2001, -12, 1), 946684800},
        {"month -13 is December two years before", timeOf(2001, -13, 1), 944006400},
        {"the month decides on the leap day", timeOf(1999, 14, 1), 951868800},
        {"day 32 of January is 1 February", timeOf(1970, 0, 32), 31 * 86400},
        {"day 0 is the day before", timeOf(1970, 0, 0), -86400},
        {"day 29 of a common February is 1 March", timeOf(2023, 1, 29), 1677628800},
        {"hours, minutes and seconds add up", timeOf(1970, 0, 1, 25, 61, 61),
         25 * 3600 + 61 * 60 + 61},
        {"hours, minutes and seconds may be negative", timeOf(1970, 0, 1, -1, -1, -1), -3661},
        {"in 64 bits", timeOf(1970, 0, 1, INT_MAX, INT_MAX, INT_MAX), INT64_C(3661) * INT_MAX},
    };
    for (const TimeRow& row : rows) {
        EXPECT_EQ(Tools::getInternalTimeGmt(&row.time), row.expected) << row.sentence;
    }
}

TEST(InternalTime, IgnoresAllOtherFieldsAndTheTimeZone)
{
    ASSERT_EQ(::setenv("TZ", "Asia/Tokyo", 1), 0);
    ::tzset();
    std::tm time = timeOf(2000, 2, 1);
    time.tm_wday = 99;
    time.tm_yday = -5;
    time.tm_isdst = 1;
    time.tm_gmtoff = 3600;
    EXPECT_EQ(Tools::getInternalTimeGmt(&time), 951868800);
}

TEST(InternalTime, AgreesWithTheSystemOnEveryDayOfFourCenturies)
{
    for (std::int64_t day = -100000; day < 46097; ++day) {
        const auto seconds = static_cast<std::time_t>(day * 86400 + 12345);
        if (seconds != day * 86400 + 12345) {
            continue; // a time_t of 32 bits does not reach there
        }
        std::tm time{};
        ASSERT_NE(::gmtime_r(&seconds, &time), nullptr);
        ASSERT_EQ(Tools::getInternalTimeGmt(&time), seconds);
    }
}

TEST(Dates, TruncateLargeSumsTo32Bits)
{
    EXPECT_EQ(Tools::days_from_1jan(2023, 12, INT_MAX), INT_MIN + 332);
    EXPECT_EQ(Tools::days_from_1jan(2023, 1, INT_MIN), INT_MAX);
    // The terms of the rule, each truncated.
    EXPECT_EQ(Tools::days_from_0(INT_MAX),
              static_cast<int>(365 * INT64_C(2147483646) + 536870911 - 21474836 + 5368709));
    EXPECT_EQ(Tools::days_from_0(INT_MIN),
              static_cast<int>(365 * INT64_C(-2147483649) - 536870912 + 21474836 - 5368709));
    EXPECT_EQ(Tools::days_from_1970(INT_MIN),
              static_cast<int>(INT64_C(-719162) + Tools::days_from_0(INT_MIN)));
    for (const int extreme : {INT_MAX, INT_MIN}) {
        std::tm time = timeOf(1970, extreme, extreme, extreme, extreme, extreme);
        time.tm_year = extreme;
        const std::int64_t days = Tools::getInternalTimeGmt(&time) - INT64_C(3661) * extreme;
        EXPECT_EQ(days % 86400, 0) << "the result is a whole number of days";
        EXPECT_EQ(days / 86400, static_cast<int>(days / 86400)) << "that number has 32 bits";
    }
}

struct LeftRow {
    const char* sentence;
    int offset;
};

TEST(SecondsBeforeATimestamp, CountFromNow)
{
    const LeftRow rows[] = {
        {"now", 0},
        {"in a minute", 60},
        {"a minute ago", -60},
        {"ten years ago", -315360000},
    };
    for (const LeftRow& row : rows) {
        const std::time_t before = std::time(nullptr);
        const int left =
            Tools::getSecondBeforeReachTimestamp(static_cast<int>(before) + row.offset);
        const auto passed = static_cast<int>(std::time(nullptr) - before);
        // time() reads a coarser clock, which may be behind by one second.
        EXPECT_LE(left, row.offset) << row.sentence;
        EXPECT_GE(left, row.offset - passed - 1) << row.sentence;
    }
}

TEST(SecondsBeforeATimestamp, WrapAroundIn32Bits)
{
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    const int left = Tools::getSecondBeforeReachTimestamp(INT_MIN);
    EXPECT_NEAR(left, static_cast<int>(INT64_C(-2147483648) - now), 5);
}

} // namespace
