// Which callers the command "getkey" gives a private key.

#include "integration/ServerCase.h"
#include "support/ChildProcess.h"
#include "support/ScriptedClient.h"

#include <gmock/gmock.h>

#include <grp.h>
#include <unistd.h>

namespace
{

using support::Accounts;
using support::Step;
using testing::HasSubstr;

constexpr gid_t keysId = 4720;
constexpr uid_t memberId = 4721;
constexpr uid_t primaryId = 4722;
constexpr uid_t strangerId = 4723;
constexpr uid_t namelessId = 4724;

class GetKey : public server_case::WithServer
{
protected:
    GetKey()
    {
        const gid_t keys = Accounts::hasOtherIds() ? keysId : 0;
        Accounts::addGroup("keys:x:" + std::to_string(keys) + ":member");
        Accounts::addUser("member:x:4721:4721::/:/bin/sh");
        Accounts::addUser("primary:x:4722:" + std::to_string(keys) + "::/:/bin/sh");
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

TEST_F(GetKey, RepliesTheKeyToUsersWhoMayReadItsFile)
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
        {"a member of the key group", "keyGroup keys\n", memberId, true},
        {"a user whose primary group is the key group", "keyGroup keys\n", primaryId, true},
        {"the daemon's user", "keyGroup keys\n", 0, true},
        {"a member of only the management group", "keyGroup keys\n", strangerId, false},
        {"a user without a name", "keyGroup keys\n", namelessId, false},
        {"a member of that group when no key group is configured", "", memberId, false},
        {"the daemon's user when no key group is configured", "", 0, true},
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

TEST_F(GetKey, RepliesThroughAFifoThatNoOtherUserCanOpen)
{
    startWith("keyGroup keys\n");
    const struct {
        const char* keyword;
        mode_t mode;
        const char* reply;
    } rows[] = {{"path", 0760, "/web/server/"}, {"getkey", 0600, "PRIVATE KEY"}};
    for (const auto& row : rows) {
        const support::RunningDaemon::LogMark mark(daemon);
        support::ScriptedClient client(
            device, "web", std::string("root\t1\tserver\t") + row.keyword, Step::ClosesCommandFifo);
        mark.await(": done");
        EXPECT_EQ(server_case::modeOf(pipe("web", "out")), row.mode) << row.keyword;
        client.resume();
        EXPECT_THAT(client.outcome(), HasSubstr(row.reply)) << row.keyword;
    }
}

} // namespace
