#include <ostrel/Tools.h>

#include "support/Accounts.h"
#include "support/CapturedErrors.h"
#include "support/TextFiles.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace
{

using ostrel::Tools;
using support::Accounts;
using testing::ElementsAreArray;
using testing::IsEmpty;

struct ScanRow {
    const char* sentence;
    const char* user;
    const char* groups;
    std::vector<std::uint32_t> expected;
};

// Intended: any mention of the user counts, except at the very start of the
// line.
const ScanRow rows[] = {
    {"a listed member", "bob", "a:x:1:bob\n", {1}},
    {"in file order", "bob", "c:x:3:bob\na:x:1:alice,bob\nb:x:2:bob,alice\n", {3, 1, 2}},
    {"a line that does not mention the user", "bob", "a:x:1:alice\n", {}},
    {"the line of the user's own group", "bob", "bob:x:1:\n", {}},
    {"the line of the user's own group that lists the user", "bob", "bob:x:1:bob\n", {}},
    {"a group whose name starts with the user's", "bob", "bobsleigh:x:1:bob\n", {}},
    {"a group whose name ends with the user's", "bob", "kabob:x:1:\n", {1}},
    {"a part of a member's name", "adm", "a:x:1:admin\n", {1}},
    {"a part of the id", "12", "a:x:3124:\n", {3124}},
    {"the password field", "x", "a:x:1:\n", {1}},
    {"two groups with the same id", "bob", "a:x:1:bob\nb:x:1:bob\n", {1, 1}},
    {"the same group twice", "bob", "a:x:1:bob\na:x:1:bob\n", {1, 1}},
    {"a name that differs in case", "Bob", "a:x:1:bob\n", {}},
    {"the last line without a line feed", "bob", "a:x:1:alice\nb:x:2:bob", {2}},
    {"empty lines", "bob", "\n\na:x:1:bob\n\n", {1}},
    {"a group that the database does not know", "bob", "bad:x:id:bob\nshort:bob\na:x:3:bob\n", {3}},
    {"a line without a colon", "bob", "a bob\nb:x:2:bob\n", {2}},
    {"a line that is commented out", "bob", "# a:x:1:bob\nb:x:2:bob\n", {2}},
    {"a user without a name", "", "a:x:1:bob\nb:x:2:\n", {}},
    {"a user that holds a separator", "1:bob", "a:x:1:bob\n", {1}},
    {"the id 0", "bob", "root:x:0:bob\n", {0}},
    {"an empty file", "bob", "", {}},
    {"an empty file and a user without a name", "", "", {}},
};

TEST(GetGroups, ReturnsTheGroupsWhoseLineMentionsTheUser)
{
    const Accounts accounts;
    for (const ScanRow& row : rows) {
        Accounts::setGroups(row.groups);
        EXPECT_THAT(Tools::getGroups(row.user), ElementsAreArray(row.expected)) << row.sentence;
    }
}

TEST(GetGroups, TracesEachGroup)
{
    const Accounts accounts;
    Accounts::setGroups("b:x:22:bob\nbob:x:5:\nunknown\na:x:11:bob\nbad:x:id:bob\n");
    const support::CapturedTrace errors;
    Tools::getGroups("bob");
    EXPECT_EQ(errors.text(), "Group: b - 22\nGroup: a - 11\n");
}

TEST(GetGroups, ReturnsNoGroupsWhenTheFileCannotBeRead)
{
    const Accounts accounts;
    std::filesystem::remove("/etc/group");
    EXPECT_THAT(Tools::getGroups("bob"), IsEmpty());
    std::filesystem::create_directory_symlink("/tmp", "/etc/group");
    EXPECT_THAT(Tools::getGroups("bob"), IsEmpty());
}

TEST(GetGroups, LeavesNoDescriptorOpen)
{
    const Accounts accounts;
    Tools::getGroups("bob");
    const std::size_t before = support::openDescriptorCount();
    Tools::getGroups("bob");
    EXPECT_EQ(support::openDescriptorCount(), before);
}

} // namespace
