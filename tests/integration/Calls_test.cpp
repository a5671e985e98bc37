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

// Makes many calls and returns the first unexpected answer. A slow machine makes fewer calls.
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

TEST_F(Calls, FindTheLockFreeOnceThePreviousCallHasReturned)
{
    EXPECT_EQ(oddAnswerOf("web"), "");
}

// On a busy machine, the daemon itself used to hold the lock for a moment.
TEST_F(Calls, OfTwoServicesInParallelFindTheirLocksFree)
{
    std::string odd;
    std::thread other([&] { odd = oddAnswerOf("vpn"); });
    EXPECT_EQ(oddAnswerOf("web"), "");
    other.join();
    EXPECT_EQ(odd, "");
}

} // namespace
