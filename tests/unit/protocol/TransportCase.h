#pragma once

// What the tests of the transport share: a service with a peer at its pipes,
// one call told in words, and what a call must leave behind.

#include "protocol/Transport.h"

#include "support/CapturedErrors.h"
#include "support/Device.h"
#include "support/ScriptedPeer.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include <sys/file.h>

namespace transport_case
{

inline std::string payload(const std::string& text)
{
    return "payload: " + text;
}

/// What a call returned or threw, in the words above and those of thrownBy().
inline std::string outcomeOf(ostrel::Commands& command, const ostrelApi::ServicePipes& pipes)
{
    std::string reply;
    const std::string thrown =
        support::thrownBy([&] { reply = payload(ostrelApi::exchange(command, pipes)); });
    return thrown == "nothing" ? reply : thrown;
}

/// A service whose pipes a scripted peer holds.
class Transport : public testing::Test
{
protected:
    ~Transport() override { std::filesystem::remove(peer.outPath()); }

    /// One call, "list" for the CAs.
    std::string call() const { return callWith({}); }

    /// One call with an argument of `length` bytes; a pipe holds 64 KiB.
    std::string callWithLongMessage(std::size_t length = 200000) const
    {
        return callWith({std::string(length, 'x')});
    }

    std::string callWith(const std::vector<std::string>& arguments) const
    {
        ostrel::Commands command;
        command.target = ostrel::TargetCA;
        command.command = ostrel::CommandList;
        command.arguments = arguments;
        return outcomeOf(command, pipes);
    }

    /// The line that a call traces when it has its message ready.
    static std::string messageLine()
    {
        return "Commands::toMessage() :root\t" + std::to_string(::getpid()) + "\tca\tlist\n";
    }

    static std::string line(const std::string& text, int error)
    {
        return text + std::strerror(error) + '\n';
    }

    bool isLockFree() const
    {
        const ostrel::Descriptor lock = ostrel::Descriptor::open(pipes.lock, O_WRONLY);
        return lock.isOpen() && ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
    }

    /// Names and kinds of the files of the service.
    std::set<std::pair<std::string, std::filesystem::file_type>> files() const
    {
        std::set<std::pair<std::string, std::filesystem::file_type>> result;
        for (const auto& file : std::filesystem::directory_iterator(directory)) {
            result.emplace(file.path().filename(), file.symlink_status().type());
        }
        return result;
    }

    /// No reply FIFO, no lock held.
    void expectReleased() const
    {
        EXPECT_FALSE(std::filesystem::exists(pipes.out)) << "the reply FIFO is left";
        EXPECT_TRUE(isLockFree()) << "the lock is held";
    }

    const support::Device device;
    const std::string directory = device.pipesDirectory() + "/web";
    ostrelApi::ServicePipes pipes =
        ostrelApi::pipesOf(device.pipesDirectory() + "/web", "web", "root");
    // Last, for its thread may look at all the others.
    support::ScriptedPeer peer{device, "web"};
};

} // namespace transport_case
