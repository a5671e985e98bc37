#include "unit/api/StockedService.h"

#include "support/ChangeTime.h"

#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace
{

using service_case::OstrelService;
using service_case::StockedService;

constexpr bool hasWideTime = sizeof(std::time_t) == 8;

class ServerCsrTime : public StockedService
{
};

TEST_F(ServerCsrTime, IsTheSignedTimeOfThePlatform)
{
    const struct {
        const char* sentence;
        std::int64_t changed;
        std::int64_t expectedOf32Bits;
    } rows[] = {
        {"the epoch equals a missing request", 0, 0},
        {"today", 1700000000, 1700000000},
        {"the second before the epoch", -1, -1},
        {"the last second of 32 bits", 2147483647, 2147483647},
        {"the second after it", 2147483648, -2147483648},
        {"a year later", 2179019648, -2115947648},
        {"the last second of 32 unsigned bits", 4294967295, -1},
        {"the second after that", 4294967297, 1},
    };
    OstrelService web("web");
    for (const auto& row : rows) {
        const support::ChangeTime change(csr, row.changed);
        EXPECT_EQ(web.getServerCsrTimestamp(), hasWideTime ? row.changed : row.expectedOf32Bits)
            << row.sentence;
    }
}

TEST_F(ServerCsrTime, BeforeTheEpochCountsAsAPendingRequest)
{
    const support::ChangeTime change(csr, INT32_MIN);
    OstrelService web("web");
    support::ScriptedPeer peer(device, "web");
    peer.answer("0 ");
    web.applyServerCertificate(service_case::pem("certificate\n"));
    EXPECT_EQ(peer.messages().size(), 1U);
}

// Where time_t has 32 bits, the C library reports no status for a file with a later date.
TEST_F(ServerCsrTime, RequiresATimeThatHoldsEveryDateOfTheFile)
{
    ASSERT_EQ(std::system(("touch -d @2524608000 " + csr).c_str()), 0);
    OstrelService web("web");
    EXPECT_EQ(web.getServerCsrTimestamp() != 0, hasWideTime);
}

} // namespace
