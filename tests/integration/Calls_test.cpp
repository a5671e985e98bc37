#include "integration/DaemonCase.h"

#include <chrono>
#include <string>
#include <thread>

namespace
{

using daemon_case::askStatus;
using daemon_case::payload;

class Calls : public daemon_case::WithDaemon
{
};

using Clock = std::chrono::steady_clock;

constexpr int manyCalls = 10000;
constexpr std::chrono::seconds longEnough{10};

// The first answer of many that is not the expected one; a busy machine gives fewer.
std::string oddAnswerOf(const std::string& service)
{
    const Clock::time_point end = Clock::now() + longEnough;
    for (int i = 0; i < manyCalls && Clock::now() < end; ++i) {
        const std::string answer = askStatus(service);
        if (answer != payload("running")) {
            return answer;
        }
    }
    return "";
}

TEST_F(Calls, FindTheLockFreeWhenTheOneBeforeHasReturned)
{
    EXPECT_EQ(oddAnswerOf("web"), "");
}

// Once, with both processors busy, the daemon itself held the lock for a moment.
TEST_F(Calls, OfTwoServicesAtOnceFindTheirLocksFree)
{
    std::string odd;
    std::thread other([&] { odd = oddAnswerOf("vpn"); });
    EXPECT_EQ(oddAnswerOf("web"), "");
    other.join();
    EXPECT_EQ(odd, "");
}

} // namespace
