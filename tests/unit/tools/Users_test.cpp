#include <ostrel/Tools.h>

#include "support/Accounts.h"
#include "support/CapturedErrors.h"
#include "support/ChildProcess.h"
#include "support/TextFiles.h"

#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>

#include <unistd.h>

namespace
{

using ostrel::Tools;
using support::Accounts;
using support::CapturedTrace;
using support::inChild;
using testing::ElementsAre;
using testing::IsEmpty;

class Users : public testing::Test
{
protected:
    Users()
    {
        Accounts::setUsers("root:x:0:0:root:/root:/bin/sh\n"
                           "alice:x:4001:5001::/:/bin/false\n"
                           "bob:x:4002:5002::/:/bin/false\n");
        Accounts::setGroups("root:x:0:\n"
                            "staff:x:5001:bob,root\n"
                            "crew:x:5002:alice,ghost\n"
                            "empty:x:5003:\n");
    }

    const Accounts accounts;
};

TEST_F(Users, AreNamedByTheEffectiveId)
{
    EXPECT_EQ(Tools::getUserName(), "root");
    Accounts::setUsers("chief:x:0:0::/:/bin/sh\n");
    EXPECT_EQ(Tools::getUserName(), "chief");
}

TEST_F(Users, HaveNoNameWhenTheIdHasNoEntry)
{
    Accounts::setUsers("alice:x:4001:5001::/:/bin/false\n");
    EXPECT_EQ(Tools::getUserName(), "");
    EXPECT_EQ(Tools::getUid(), 0U);
}

TEST_F(Users, AreIdentifiedByTheEffectiveIdNotTheRealId)
{
    EXPECT_EQ(Tools::getUid(), ::geteuid());
    if (!Accounts::hasOtherIds()) {
        GTEST_SKIP() << "an ordinary user's namespace has no second id";
    }
    EXPECT_EQ(inChild([] {
                  // Like a set-user-id program of alice's.
                  const int result = ::setresuid(0, 4001, 4001);
                  return std::to_string(result) + ' ' + std::to_string(::getuid()) + ' ' +
                         std::to_string(Tools::getUid()) + ' ' + Tools::getUserName();
              }),
              "0 0 4001 alice");
}

TEST_F(Users, HaveTheIdOfTheirProcess)
{
    EXPECT_EQ(Tools::getPid(), ::getpid());
    const std::string child = inChild([] { return std::to_string(Tools::getPid()); });
    EXPECT_NE(child, std::to_string(::getpid()));
    EXPECT_GT(std::stoi(child), 0);
}

TEST_F(Users, ExistWhenTheDatabaseListsThem)
{
    for (const char* name : {"root", "alice", "bob"}) {
        EXPECT_TRUE(Tools::isUserExist(name)) << name;
    }
    for (const char* name : {"ghost", "staff", "Alice", "alic", "alice:x", "4001", ""}) {
        EXPECT_FALSE(Tools::isUserExist(name)) << name;
    }
}

TEST_F(Users, DoNotExistWhenTheDatabaseIsMissing)
{
    std::filesystem::remove("/etc/passwd");
    std::filesystem::remove("/etc/group");
    EXPECT_FALSE(Tools::isUserExist("root"));
    EXPECT_FALSE(Tools::isGroupExist("root"));
    EXPECT_FALSE(Tools::isUserMemberOfGroup("bob", "staff"));
    EXPECT_EQ(Tools::getUserName(), "");
    EXPECT_EQ(Tools::getGroupId("staff"), 0U);
    EXPECT_THAT(Tools::getGroups("bob"), IsEmpty());
}

using Groups = Users;

TEST_F(Groups, ExistWhenTheDatabaseListsThem)
{
    for (const char* name : {"root", "staff", "crew", "empty"}) {
        EXPECT_TRUE(Tools::isGroupExist(name)) << name;
    }
    for (const char* name : {"ghost", "alice", "Staff", "staf", "5001", ""}) {
        EXPECT_FALSE(Tools::isGroupExist(name)) << name;
    }
}

// Intended: an unknown group and a group with the id 0 give the same number.
TEST_F(Groups, HaveAnIdOrZero)
{
    const CapturedTrace errors;
    EXPECT_EQ(Tools::getGroupId("staff"), 5001U);
    EXPECT_EQ(Tools::getGroupId("root"), 0U);
    EXPECT_EQ(Tools::getGroupId("unknown"), 0U);
    EXPECT_EQ(errors.text(), "Group Id: staff - 5001\nGroup Id: root - 0\n");
}

TEST_F(Groups, HaveIdsOf32Bits)
{
    Accounts::addGroup("far:x:4294967294:bob");
    const CapturedTrace errors;
    EXPECT_EQ(Tools::getGroupId("far"), 4294967294U);
    EXPECT_THAT(Tools::getGroups("bob"), ElementsAre(5001, 4294967294U));
    EXPECT_EQ(errors.text(), "Group Id: far - 4294967294\n"
                             "Group: staff - 5001\nGroup: far - 4294967294\n");
}

TEST_F(Groups, HaveOnlyTheMembersThatTheyList)
{
    const struct {
        const char* sentence;
        const char* user;
        const char* group;
        bool expected;
    } rows[] = {
        {"the first of the list", "bob", "staff", true},
        {"the last of the list", "root", "staff", true},
        {"a user that the list does not name", "root", "crew", false},
        {"a user whose primary group it is", "alice", "staff", false},
        {"another user whose primary group it is", "bob", "crew", false},
        {"a listed member that is not a user", "ghost", "crew", false},
        {"a group without members", "bob", "empty", false},
        {"a part of a member's name", "bo", "staff", false},
        {"an unknown group", "bob", "unknown", false},
        {"both unknown", "nobody-of-this-name", "unknown", false},
        {"no names at all", "", "", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Tools::isUserMemberOfGroup(row.user, row.group), row.expected) << row.sentence;
    }
}

TEST_F(Groups, CanHaveAnyNumberOfMembers)
{
    std::string line = "crowd:x:6001:";
    for (int number = 0; number < 3000; ++number) {
        line += "member" + std::to_string(number) + ',';
    }
    Accounts::addGroup(line + "bob");
    EXPECT_TRUE(Tools::isGroupExist("crowd"));
    EXPECT_EQ(Tools::getGroupId("crowd"), 6001U);
    EXPECT_TRUE(Tools::isUserMemberOfGroup("bob", "crowd"));
    EXPECT_FALSE(Tools::isUserMemberOfGroup("alice", "crowd"));
    EXPECT_THAT(Tools::getGroups("bob"), ElementsAre(5001, 6001));
}

} // namespace
