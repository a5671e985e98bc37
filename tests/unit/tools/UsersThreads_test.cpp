#include <ostrel/Tools.h>

#include "support/Accounts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace
{

using ostrel::Tools;
using support::Accounts;

constexpr unsigned int threadCount = 8;
constexpr int rounds = 200;

std::string numbered(const std::string& name, unsigned int number)
{
    return name + std::to_string(number);
}

/// Counts the answers that belong to another thread.
int wrongAnswers(unsigned int number)
{
    int wrong = 0;
    const std::string user = numbered("user", number);
    const std::string group = numbered("group", number);
    for (int round = 0; round < rounds; ++round) {
        wrong += Tools::getGroupId(group) == 7000 + number ? 0 : 1;
        wrong += Tools::isUserMemberOfGroup(user, group) ? 0 : 1;
        wrong += Tools::isUserMemberOfGroup(user, numbered("group", number + 1)) ? 1 : 0;
        wrong += Tools::isUserExist(user) ? 0 : 1;
        wrong += Tools::getGroups(user) == std::vector<std::uint32_t>{7000 + number} ? 0 : 1;
        wrong += Tools::getUserName() == "root" ? 0 : 1;
    }
    return wrong;
}

TEST(UserLookUps, AreSafeInSeveralThreads)
{
    const Accounts accounts;
    std::string users = "root:x:0:0::/:/bin/sh\n";
    std::string groups;
    for (unsigned int number = 0; number <= threadCount; ++number) {
        const std::string user = numbered("user", number);
        users += user + ":x:" + std::to_string(6000 + number) + ":0::/:/bin/false\n";
        groups +=
            numbered("group", number) + ":x:" + std::to_string(7000 + number) + ':' + user + '\n';
    }
    Accounts::setUsers(users);
    Accounts::setGroups(groups);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < threadCount; ++number) {
        threads.emplace_back([&wrong, number] { wrong += wrongAnswers(number); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
