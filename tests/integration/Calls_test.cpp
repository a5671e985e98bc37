#include "integration/DaemonCase.h"

#include <thread>

namespace
{

using daemon_case::askStatus;
using daemon_case::payload;

class Calls : public daemon_case::WithDaemon
{
};

constexpr int manyCalls = 10000;

// The first answer of many that is not the expected one.
std::string oddAnswerOf(const std::string& service)
{
    for (int i = 0; i < manyCalls; ++i) {
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
