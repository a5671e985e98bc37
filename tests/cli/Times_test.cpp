#include "commands/Times.h"

#include <gtest/gtest.h>

#include <limits>

namespace
{

TEST(Times, AreTextsInUtcForEveryYearOfFourDigits)
{
    const struct {
        std::int64_t time;
        const char* text;
    } rows[] = {
        {0, "1970-01-01T00:00:00Z"},
        {951782399, "2000-02-28T23:59:59Z"},
        {951782400, "2000-02-29T00:00:00Z"},
        {2147483647, "2038-01-19T03:14:07Z"},
        {2147483648, "2038-01-19T03:14:08Z"},
        {2524607999, "2049-12-31T23:59:59Z"},
        {4107542400, "2100-03-01T00:00:00Z"},
        {4294967296, "2106-02-07T06:28:16Z"},
        {253402300799, "9999-12-31T23:59:59Z"},
        {253402300800, "253402300800"},
        {-1, "1969-12-31T23:59:59Z"},
        {-86400, "1969-12-31T00:00:00Z"},
        {-2208988800, "1900-01-01T00:00:00Z"},
        {std::numeric_limits<std::int64_t>::max(), "9223372036854775807"},
        {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ostrelctl::timeText(row.time), row.text);
    }
}

} // namespace
