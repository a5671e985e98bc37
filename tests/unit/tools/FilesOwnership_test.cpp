#include <ostrel/Tools.h>

#include "support/Accounts.h"
#include "support/TextFiles.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

namespace fs = std::filesystem;
using ostrel::Tools;
using support::Accounts;
using support::thrownBy;

std::string ownersOf(const std::string& path)
{
    const Tools::Rights rights = Tools::getRights(path);
    return std::to_string(rights.uid) + ' ' + std::to_string(rights.gid);
}

class Ownership : public testing::Test
{
protected:
    Ownership()
    {
        support::writeText(directory / "file", "text");
        fs::create_symlink(directory / "file", directory / "link");
        fs::create_symlink(directory / "loop", directory / "loop");
        fs::create_symlink(directory / "missing", directory / "dangling");
        // Aliases of root, the only owner that every namespace has.
        Accounts::addUser("keeper:x:0:0::/:/bin/false");
        Accounts::addGroup("keepers:x:0:");
        Accounts::addUser("alice:x:4001:4002::/:/bin/false");
        Accounts::addGroup("crew:x:4003:alice");
    }

    const Accounts accounts;
    const support::TemporaryDirectory directory;
    const std::string file = directory / "file";
};

// The dangling link shows that links are followed: the link itself could change its owner.
const char* const unreachableNames[] = {"missing", "missing/file", "file/below", "loop",
                                        "dangling"};

TEST_F(Ownership, CanBeSetToTheCurrentOwner)
{
    EXPECT_TRUE(Tools::changeUser(file, uid_t{0}));
    EXPECT_TRUE(Tools::changeGroup(file, gid_t{0}));
    EXPECT_TRUE(Tools::changeUser(file, "keeper"));
    EXPECT_TRUE(Tools::changeGroup(file, "keepers"));
    EXPECT_EQ(ownersOf(file), "0 0");
}

void changeOwnersOneByOne(const std::string& file, const std::string& link)
{
    EXPECT_TRUE(Tools::changeUser(file, uid_t{4100}));
    EXPECT_EQ(ownersOf(file), "4100 0");
    EXPECT_TRUE(Tools::changeGroup(file, gid_t{4200}));
    EXPECT_EQ(ownersOf(file), "4100 4200");
    EXPECT_TRUE(Tools::changeUser(file, "alice"));
    EXPECT_EQ(ownersOf(file), "4001 4200");
    EXPECT_TRUE(Tools::changeGroup(file, "crew"));
    EXPECT_EQ(ownersOf(file), "4001 4003");
    EXPECT_TRUE(Tools::changeGroup(link, gid_t{4300}));
    EXPECT_TRUE(Tools::changeUser(link, uid_t{4400}));
    EXPECT_EQ(ownersOf(file), "4400 4300") << "through the link";
}

TEST_F(Ownership, CanBeSetToAnotherOwnerWhereTheNamespaceHasOne)
{
    if (Accounts::hasOtherIds()) {
        changeOwnersOneByOne(file, directory / "link");
        return;
    }
    EXPECT_EQ(thrownBy([&] { Tools::changeUser(file, "alice"); }),
              "std::runtime_error: Impossible to change the user for " + file);
    EXPECT_EQ(thrownBy([&] { Tools::changeGroup(file, gid_t{4200}); }),
              "std::runtime_error: Impossible to change the group for " + file);
    EXPECT_EQ(ownersOf(file), "0 0");
}

TEST_F(Ownership, SetByNumberThrowsOnFailure)
{
    for (const char* name : unreachableNames) {
        const std::string path = directory / name;
        EXPECT_EQ(thrownBy([&] { Tools::changeUser(path, uid_t{0}); }),
                  "std::runtime_error: Impossible to change the user for " + path);
        EXPECT_EQ(thrownBy([&] { Tools::changeGroup(path, gid_t{0}); }),
                  "std::runtime_error: Impossible to change the group for " + path);
    }
}

// Intended: the user's form passes the failure on unchanged; the group's form translates it.
TEST_F(Ownership, SetByNameThrowsOnFailure)
{
    for (const char* name : unreachableNames) {
        const std::string path = directory / name;
        EXPECT_EQ(thrownBy([&] { Tools::changeUser(path, "keeper"); }),
                  "std::runtime_error: Impossible to change the user for " + path);
        EXPECT_EQ(thrownBy([&] { Tools::changeGroup(path, "keepers"); }),
                  "std::runtime_error: Runtime error caught while changing group for file '" +
                      path + "': Impossible to change the group for " + path);
    }
}

TEST_F(Ownership, IsNotChangedForAnUnknownName)
{
    for (const char* name : {"nobody-of-this-name", "", "0", "keeper:x"}) {
        for (const std::string& path : {file, directory / "missing"}) {
            EXPECT_FALSE(Tools::changeUser(path, name)) << name;
            EXPECT_FALSE(Tools::changeGroup(path, name)) << name;
        }
    }
    EXPECT_EQ(ownersOf(file), "0 0");
    EXPECT_FALSE(fs::exists(directory / "missing"));
}

} // namespace
