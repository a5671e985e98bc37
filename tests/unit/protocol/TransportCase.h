#pragma once

// Shared by the tests of the transport: a service with a peer at its pipes, a
// call whose outcome is a text, and the state that every call must restore.

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

/// What a call returned or threw, in the words of payload() and thrownBy().
inline std::string outcomeOf(ostrel::Commands& command, const ostrelApi::ServicePipes& pipes)
{
    std::string reply;
    const std::string thrown =
        support::thrownBy([&] { reply = payload(ostrelApi::exchange(command, pipes)); });
    return thrown == "nothing" ? reply : thrown;
}

/// A service whose pipes are served by a scripted peer.
class Transport : public testing::Test
{
protected:
    ~Transport() override { std::filesystem::remove(peer.outPath()); }

    /// Calls "list" for the CAs.
    std::string call() const { return callWith({}); }

    /// Calls with an argument of `length` bytes. A pipe holds 64 KiB.
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

    /// The line that a call traces before it sends its message.
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

    /// Names and types of the files of the service.
    std::set<std::pair<std::string, std::filesystem::file_type>> files() const
    {
        std::set<std::pair<std::string, std::filesystem::file_type>> result;
        for (const auto& file : std::filesystem::directory_iterator(directory)) {
            result.emplace(file.path().filename(), file.symlink_status().type());
        }
        return result;
    }

    /// Expects that no reply FIFO exists and that the lock is free.
    void expectReleased() const
    {
        EXPECT_FALSE(std::filesystem::exists(pipes.out)) << "the reply FIFO is left";
        EXPECT_TRUE(isLockFree()) << "the lock is held";
    }

    const support::Device device;
    const std::string directory = device.pipesDirectory() + "/web";
    ostrelApi::ServicePipes pipes =
        ostrelApi::pipesOf(device.pipesDirectory() + "/web", "web", "root");
    // Last, because its thread may use all the other members.
    support::ScriptedPeer peer{device, "web"};
};

} // namespace transport_case
