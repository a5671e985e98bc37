// What a member of the managment group can put into the service's directory while no
// daemon runs, and what a peer can send.

#include "protocol/CommandFifo.h"

#include "unit/protocol/TransportCase.h"

#include <ostrelApi/CallError.h>

#include "support/Accounts.h"
#include "support/Await.h"
#include "support/TextFiles.h"

#include <gmock/gmock.h>

#include <thread>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using support::Accounts;
using support::apiError;
using transport_case::payload;
using transport_case::Transport;

const uid_t theDaemon = 4001;
const uid_t theDirectorysOwner = 4002;
const uid_t aMember = 4003;

struct OwnerRow {
    const char* sentence;
    uid_t owner;
    std::string (*daemonUser)();
    bool isTrusted;
};

std::string keeper()
{
    return "keeper";
}

std::string unknown()
{
    return "nobody-knows-it";
}

const OwnerRow owners[] = {
    {"root", 0, keeper, true},
    {"the owner of the directory", theDirectorysOwner, keeper, true},
    {"the daemon's user", theDaemon, keeper, true},
    {"any other user", aMember, keeper, false},
    {"a user who is not the daemon's", theDaemon, [] { return std::string("root"); }, false},
    {"a user, where the database lacks the daemon's", theDaemon, unknown, false},
    {"a user, where the daemon's has an empty name", theDaemon, [] { return std::string(); },
     false},
    {"a user, where the daemon's is not given", theDaemon, nullptr, false},
};

void addTheDaemonsUser()
{
    Accounts::addUser("keeper:x:" + std::to_string(theDaemon) + ":4001::/:/bin/false");
}

TEST(CommandFifo, IsTrustedByItsOwner)
{
    const support::Device device;
    const Accounts accounts;
    addTheDaemonsUser();
    for (const OwnerRow& row : owners) {
        EXPECT_EQ(ostrelApi::isTrustedOwner(row.owner, theDirectorysOwner, row.daemonUser),
                  row.isTrusted)
            << row.sentence;
    }
}

class TransportDistrust : public Transport
{
protected:
    void give(const std::string& path, uid_t owner) const
    {
        ASSERT_EQ(::chown(path.c_str(), owner, static_cast<gid_t>(-1)), 0) << path;
    }

    /// Expects a call that fails as if the command FIFO had not been accessible.
    void expectRefusal() const
    {
        const auto filesBefore = files();
        const support::CapturedTrace trace;
        const std::size_t descriptorsBefore = support::openDescriptorCount();
        ostrel::Commands command;
        const ostrelApi::CallError error =
            support::callErrorOf([&] { ostrelApi::exchange(command, pipes); });
        EXPECT_EQ(error.getReturnCode(), 1);
        EXPECT_EQ(error.getSystemError(), EACCES);
        EXPECT_EQ(error.getReason(),
                  "cannot open the command FIFO " + pipes.in + ": " + std::strerror(EACCES));
        EXPECT_EQ(trace.text(),
                  line("Error: Failed to open FIFO IN file: " + pipes.in + ": ", EACCES));
        EXPECT_EQ(files(), filesBefore);
        EXPECT_EQ(support::openDescriptorCount(), descriptorsBefore);
        expectReleased();
    }

    const Accounts accounts;
    const std::string precious = device.storeDirectory() + "/precious";
};

TEST_F(TransportDistrust, WritesThroughNoLink)
{
    for (const std::string& target : {precious, peer.lockPath(), directory + "/nothing"}) {
        SCOPED_TRACE(target);
        support::writeText(precious, "text");
        fs::remove(pipes.in);
        fs::create_symlink(target, pipes.in);
        expectRefusal();
        EXPECT_EQ(support::readText(precious), "text");
    }
}

TEST_F(TransportDistrust, WritesIntoFilesOfTrustedUsersOnly)
{
    if (!Accounts::hasOtherIds()) {
        GTEST_SKIP() << "this namespace has one user: run the test as root";
    }
    addTheDaemonsUser();
    give(directory, theDirectorysOwner);
    for (const OwnerRow& row : owners) {
        SCOPED_TRACE(row.sentence);
        give(pipes.in, row.owner);
        pipes.daemonUser = row.daemonUser;
        if (row.isTrusted) {
            peer.answer("0 a");
            EXPECT_EQ(call(), payload("a"));
            peer.finish();
        } else {
            expectRefusal();
        }
    }
}

TEST_F(TransportDistrust, DoesNotWaitForTheReaderOfAForeignFifo)
{
    if (!Accounts::hasOtherIds()) {
        GTEST_SKIP() << "this namespace has one user: run the test as root";
    }
    fs::remove(pipes.in);
    ASSERT_EQ(::mkfifo(pipes.in.c_str(), 0666), 0);
    give(pipes.in, aMember);
    expectRefusal();
}

TEST_F(TransportDistrust, WritesIntoARegularFileOfTheDaemon)
{
    support::writeText(precious, "");
    fs::remove(pipes.in);
    fs::rename(precious, pipes.in);
    std::thread reply([&] {
        support::awaitChange(directory, "the reply FIFO", [&] { return fs::exists(pipes.out); });
        ostrel::writeAll(ostrel::Descriptor::open(pipes.out, O_WRONLY), "0 a");
    });
    EXPECT_EQ(call(), payload("a"));
    reply.join();
    EXPECT_THAT(support::readText(pipes.in), testing::EndsWith("\tca\tlist"));
}

struct LengthRow {
    const char* sentence;
    std::size_t length;
    char filling;
    std::string expected;
};

TEST_F(TransportDistrust, ReadsAReplyOfLimitedLength)
{
    const std::size_t limit = 16 << 20;
    const LengthRow rows[] = {
        {"the limit", limit, 'x', payload(std::string(limit - 2, 'x'))},
        {"one byte more", limit + 1, 'x', apiError(1)},
        {"much more", 2 * limit, 'x', apiError(1)},
        {"more that is not kept", 2 * limit, '\0', apiError(1)},
    };
    for (const LengthRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        peer.play([&](support::ScriptedPeer::Call& caller) {
            caller.takeMessage();
            caller.openReply();
            caller.sendUntilClosed("0 " + std::string(row.length - 2, row.filling));
        });
        EXPECT_TRUE(call() == row.expected);
        peer.finish();
        expectReleased();
    }
}

TEST_F(TransportDistrust, SaysThatAReplyIsTooLong)
{
    peer.play([&](support::ScriptedPeer::Call& caller) {
        caller.takeMessage();
        caller.openReply();
        caller.sendUntilClosed(std::string(32 << 20, 'x'));
    });
    const support::CapturedTrace trace;
    ostrel::Commands command;
    const ostrelApi::CallError error =
        support::callErrorOf([&] { ostrelApi::exchange(command, pipes); });
    peer.finish();
    EXPECT_EQ(error.getReturnCode(), 1);
    EXPECT_EQ(error.getDaemonReturnCode(), 0);
    EXPECT_EQ(error.getReason(), "the daemon's reply is longer than 16 MiB");
    EXPECT_THAT(trace.text(), testing::EndsWith("\nError: The reply is longer than 16 MiB.\n"));
}

// The peer runs in this process, so it must have ended before the descriptors are counted.
TEST(TransportDescriptors, AreClosedAfterAReplyThatIsTooLong)
{
    const support::Device device;
    const ostrelApi::ServicePipes pipes =
        ostrelApi::pipesOf(device.pipesDirectory() + "/web", "web", "root");
    const std::size_t before = support::openDescriptorCount();
    {
        support::ScriptedPeer peer(device, "web");
        peer.play([](support::ScriptedPeer::Call& caller) {
            caller.takeMessage();
            caller.openReply();
            caller.sendUntilClosed(std::string(32 << 20, 'x'));
        });
        ostrel::Commands command;
        EXPECT_EQ(transport_case::outcomeOf(command, pipes), apiError(1));
    }
    EXPECT_EQ(support::openDescriptorCount(), before);
}

} // namespace
