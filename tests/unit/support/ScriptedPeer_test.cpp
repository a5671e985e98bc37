#include "support/ScriptedPeer.h"

#include "support/Device.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace
{

namespace fs = std::filesystem;
using ostrel::Descriptor;
using support::ScriptedPeer;

void write(const std::string& path, const std::string& text)
{
    ostrel::writeAll(Descriptor::open(path, O_WRONLY), text);
}

std::string readOnce(const Descriptor& file)
{
    char buffer[100];
    const ssize_t count = ::read(file.get(), buffer, sizeof buffer);
    return {buffer, count > 0 ? static_cast<std::size_t>(count) : 0};
}

TEST(ScriptedPeer, CreatesAndRemovesTheLockFileAndTheCommandFifo)
{
    const support::Device device;
    const std::string directory = device.pipesDirectory() + "/web/";
    {
        const ScriptedPeer peer(device, "web");
        EXPECT_EQ(peer.lockPath(), directory + "web.lock");
        EXPECT_EQ(peer.outPath(), directory + "web.out");
        EXPECT_TRUE(fs::is_regular_file(peer.lockPath()));
        EXPECT_TRUE(fs::is_fifo(peer.inPath()));
    }
    EXPECT_TRUE(fs::is_empty(directory));
}

TEST(ScriptedPeer, EndsFromAnyWait)
{
    const support::Device device;
    {
        const ScriptedPeer withoutAnAct(device, "web");
    }
    {
        ScriptedPeer withoutACall(device, "web");
        withoutACall.answer("0 ");
        withoutACall.answer("0 ");
    }
    {
        ScriptedPeer withoutOneToHangUpOn(device, "web");
        withoutOneToHangUpOn.hangUpAndAnswer("0 ");
    }
    {
        ScriptedPeer withoutAReader(device, "web");
        ASSERT_EQ(::mkfifo(withoutAReader.outPath().c_str(), 0600), 0);
        withoutAReader.answer("0 ");
        write(withoutAReader.inPath(), "message");
    }
    fs::remove(device.pipesDirectory() + "/web/web.out");
}

TEST(ScriptedPeer, RecordsTheMessagesAndSendsAReplyInPieces)
{
    const support::Device device;
    ScriptedPeer peer(device, "web");
    ASSERT_EQ(::mkfifo(peer.outPath().c_str(), 0600), 0);
    peer.answerInPieces({"0 ", "a", "bc"});
    peer.answer("1 ");
    write(peer.inPath(), "first");
    {
        const Descriptor reply = Descriptor::open(peer.outPath(), O_RDONLY);
        for (const char* piece : {"0 ", "a", "bc", ""}) {
            EXPECT_EQ(readOnce(reply), piece);
        }
    }
    write(peer.inPath(), "second");
    EXPECT_EQ(readOnce(Descriptor::open(peer.outPath(), O_RDONLY)), "1 ");
    peer.finish();
    EXPECT_EQ(peer.messages(), (std::vector<std::string>{"first", "second"}));
    EXPECT_EQ(peer.lastMessage(), "second");
    fs::remove(peer.outPath());
}

void answerWithoutAReplyFifo()
{
    const support::Device device;
    ScriptedPeer peer(device, "web");
    peer.answer("0 ");
    write(peer.inPath(), "message");
    peer.finish();
}

TEST(ScriptedPeer, FailsTheTestWhenAnActFails)
{
    EXPECT_NONFATAL_FAILURE_ON_ALL_THREADS(answerWithoutAReplyFifo(), "web.out");
}

TEST(ScriptedPeer, FailsTheTestThatReadsAMessageThatNeverCame)
{
    EXPECT_NONFATAL_FAILURE(
        {
            const support::Device device;
            ScriptedPeer(device, "web").lastMessage();
        },
        "no call has come");
}

} // namespace
