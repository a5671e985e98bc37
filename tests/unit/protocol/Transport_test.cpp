#include "unit/protocol/TransportCase.h"

#include "support/Accounts.h"
#include "support/TextFiles.h"

#include <sys/stat.h>

namespace
{

using ostrel::Commands;
using support::apiError;
using transport_case::outcomeOf;
using transport_case::payload;
using transport_case::Transport;

TEST(PipesOf, ContainTheNameOfTheServiceTwice)
{
    const ostrelApi::ServicePipes pipes = ostrelApi::pipesOf("/run/p/web", "web", "admin");
    EXPECT_EQ(pipes.lock, "/run/p/web/web.lock");
    EXPECT_EQ(pipes.in, "/run/p/web/web.in");
    EXPECT_EQ(pipes.out, "/run/p/web/web.out");
    EXPECT_EQ(pipes.group, "admin");
}

TEST(PipesOf, AreNotNormalised)
{
    EXPECT_EQ(ostrelApi::pipesOf("/run//a/b", "a/b", "").in, "/run//a/b/a/b.in");
}

TEST_F(Transport, ReturnsThePayloadAndLeavesNothingBehind)
{
    peer.answer("0 the payload");
    const auto filesBefore = files();
    EXPECT_EQ(call(), payload("the payload"));
    EXPECT_EQ(files(), filesBefore);
    expectReleased();
}

struct MessageRow {
    const char* sentence;
    ostrel::TypeTarget target;
    ostrel::CommandType command;
    std::vector<std::string> arguments;
    std::string expected;
};

TEST_F(Transport, WritesExactlyTheMessageOfTheUserAndTheProcess)
{
    const MessageRow rows[] = {
        {"no argument", ostrel::TargetConfig, ostrel::CommandStatus, {}, "config\tstatus"},
        {"arguments",
         ostrel::TargetServer,
         ostrel::CommandCreateCrt,
         {"a", "", "b c"},
         "server\tcreatecrt\ta\t\tb c"},
        {"an argument with a NUL",
         ostrel::TargetCA,
         ostrel::CommandAdd,
         {std::string("a\0b", 3)},
         std::string("ca\tadd\ta\0b", 10)},
        {"an empty command", ostrel::TargetNone, ostrel::CommandNone, {}, "\t"},
        {"more than a pipe holds",
         ostrel::TargetCA,
         ostrel::CommandAdd,
         {std::string(200000, 'x')},
         "ca\tadd\t" + std::string(200000, 'x')},
    };
    const std::string caller = "root\t" + std::to_string(::getpid()) + '\t';
    for (const MessageRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        Commands command;
        command.target = row.target;
        command.command = row.command;
        command.arguments = row.arguments;
        peer.answer("0 ");
        EXPECT_EQ(outcomeOf(command, pipes), payload(""));
        EXPECT_EQ(peer.lastMessage(), caller + row.expected);
    }
}

TEST_F(Transport, SetsOnlyUserAndPidOfTheCommand)
{
    Commands command("somebody\t1\tca\tadd\tpath");
    peer.answer("0 ");
    outcomeOf(command, pipes);
    EXPECT_EQ(command.user, "root");
    EXPECT_EQ(command.pid, std::to_string(::getpid()));
    EXPECT_EQ(command.target, ostrel::TargetCA);
    EXPECT_EQ(command.command, ostrel::CommandAdd);
    EXPECT_EQ(command.arguments, std::vector<std::string>{"path"});
}

TEST_F(Transport, SetsUserAndPidEvenIfTheCallFails)
{
    Commands command("somebody\t1\tca\tadd\tpath");
    std::filesystem::remove(pipes.lock);
    EXPECT_EQ(outcomeOf(command, pipes), apiError(11));
    EXPECT_EQ(command.user, "root");
    EXPECT_EQ(command.pid, std::to_string(::getpid()));
}

struct UserRow {
    const char* sentence;
    const char* database;
    std::string expected;
};

TEST_F(Transport, NamesTheUserAsTheDatabaseDoes)
{
    const UserRow rows[] = {
        {"the effective user", "alice:x:0:0::/:/bin/sh\n", "alice"},
        {"the first of two names", "alice:x:0:0::/:/bin/sh\nbob:x:0:0::/:/bin/sh\n", "alice"},
        {"a user that the database lacks", "bob:x:1:1::/:/bin/sh\n", ""},
    };
    const support::Accounts accounts;
    for (const UserRow& row : rows) {
        support::Accounts::setUsers(row.database);
        peer.answer("0 ");
        call();
        EXPECT_EQ(peer.lastMessage(),
                  row.expected + '\t' + std::to_string(::getpid()) + "\tca\tlist")
            << row.sentence;
    }
}

TEST_F(Transport, MakesSeveralCallsInARow)
{
    for (int i = 0; i < 50; ++i) {
        peer.answer("0 " + std::to_string(i));
        peer.answer("7 ");
    }
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(call(), payload(std::to_string(i)));
        EXPECT_EQ(call(), apiError(7));
    }
    EXPECT_EQ(peer.messages().size(), 100U);
}

TEST_F(Transport, CreatesTheReplyFifoWithTheServicesGroupAndAFixedMode)
{
    const support::Accounts accounts;
    const gid_t group = support::Accounts::foreignGroup();
    support::Accounts::setGroups("root:x:0:\nmanagers:x:" + std::to_string(group) + ":\n");
    pipes.group = "managers";
    for (const mode_t mask : {0U, 022U, 077U, 0777U}) {
        SCOPED_TRACE(mask);
        struct stat status = {};
        peer.play([&](support::ScriptedPeer::Call& caller) {
            caller.meet();
            ::stat(peer.outPath().c_str(), &status);
            caller.takeMessage();
            caller.openReply();
            caller.send("0 ");
        });
        const mode_t former = ::umask(mask);
        EXPECT_EQ(call(), payload(""));
        ::umask(former);
        EXPECT_TRUE(S_ISFIFO(status.st_mode));
        EXPECT_EQ(status.st_mode & 07777U, 0760U);
        EXPECT_EQ(status.st_gid, group);
    }
}

TEST_F(Transport, DoesNotChangeTheLockFile)
{
    support::writeText(pipes.lock, "the daemon's own");
    peer.answer("0 ");
    EXPECT_EQ(call(), payload(""));
    EXPECT_EQ(support::readText(pipes.lock), "the daemon's own");
}

TEST_F(Transport, TracesOnlyTheMessageOfASuccess)
{
    peer.answer("0 a");
    const support::CapturedTrace trace;
    EXPECT_EQ(call(), payload("a"));
    EXPECT_EQ(trace.text(), messageLine());
}

TEST_F(Transport, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    for (const char* reply : {"0 a", "7 a", " ", "", "x"}) {
        peer.answer(reply);
        call();
    }
    EXPECT_EQ(errors.text(), "");
}

// The peer runs in this process, so it must have ended before the descriptors
// are counted.
TEST(TransportDescriptors, AreAllClosedWhenTheCallsEnd)
{
    const support::Device device;
    const ostrelApi::ServicePipes pipes =
        ostrelApi::pipesOf(device.pipesDirectory() + "/web", "web", "root");
    const std::size_t before = support::openDescriptorCount();
    {
        support::ScriptedPeer peer(device, "web");
        for (const char* reply : {"0 a", "7 a", " ", "", "x"}) {
            Commands command;
            peer.answer(reply);
            outcomeOf(command, pipes);
        }
        Commands command;
        peer.hangUpAndAnswer("0 ");
        EXPECT_EQ(outcomeOf(command, pipes), payload(""));
    }
    EXPECT_EQ(support::openDescriptorCount(), before);
}

} // namespace
