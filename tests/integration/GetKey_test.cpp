// When the command "getkey" gives the private key.

#include "integration/ServerCase.h"
#include "support/ChildProcess.h"

#include <grp.h>
#include <unistd.h>

namespace
{

using support::Accounts;

constexpr gid_t keysId = 4720;
constexpr uid_t memberId = 4721;
constexpr uid_t strangerId = 4723;

class GetKey : public server_case::WithServer
{
protected:
    GetKey()
    {
        const gid_t keys = Accounts::hasOtherIds() ? keysId : 0;
        Accounts::addGroup("keys:x:" + std::to_string(keys) + ":member");
        Accounts::addGroup("second:x:" + std::to_string(daemon_case::managersId()) + ":");
        Accounts::addUser("member:x:4721:4721::/:/bin/sh");
        Accounts::addUser("stranger:x:4723:4723::/:/bin/sh");
    }

    void startWith(const std::string& settings)
    {
        configure(settings);
        daemon.start();
        applyNew();
    }

    /// The reply to this user, who is in the management group.
    static std::string askAs(uid_t user)
    {
        return support::inChild([user]() -> std::string {
            const gid_t group = daemon_case::managersId();
            if (::setgroups(1, &group) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0) {
                return "no such user";
            }
            return server_case::ask(ostrel::CommandGetKey);
        });
    }
};

TEST_F(GetKey, RepliesTheKeyOnlyWhereTheCallersAreTheKeyGroup)
{
    if (!Accounts::hasOtherIds()) {
        GTEST_SKIP() << "an ordinary user's namespace has no second id";
    }
    const std::string refused = server_case::refusal(3);
    const struct {
        const char* sentence;
        const char* settings;
        uid_t user;
        bool isGiven;
    } rows[] = {
        {"a caller where the callers are the key group", "keyGroup ostrel\n", strangerId, true},
        {"the same where that group has a second name", "keyGroup second\n", strangerId, true},
        {"the daemon's user where the callers are the key group", "keyGroup ostrel\n", 0, true},
        {"a caller where another group is the key group", "keyGroup keys\n", strangerId, false},
        {"a member of that key group", "keyGroup keys\n", memberId, false},
        {"the daemon's user where another group is the key group", "keyGroup keys\n", 0, false},
        {"a caller where no key group is configured", "", strangerId, false},
        {"the daemon's user where no key group is configured", "", 0, false},
    };
    startWith("");
    for (const auto& row : rows) {
        configure(row.settings);
        daemon.reload("web: configuration read again");
        const std::string answer = askAs(row.user);
        EXPECT_EQ(answer.find("PRIVATE KEY") != std::string::npos, row.isGiven) << row.sentence;
        EXPECT_EQ(answer == refused, !row.isGiven) << row.sentence << ": " << answer;
    }
}

} // namespace
