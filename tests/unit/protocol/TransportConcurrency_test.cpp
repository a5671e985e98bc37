#include "unit/protocol/TransportCase.h"

#include <algorithm>
#include <csignal>
#include <future>
#include <memory>
#include <system_error>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>

namespace
{

namespace fs = std::filesystem;
using ostrel::Descriptor;
using support::apiError;
using support::ScriptedPeer;
using transport_case::payload;
using transport_case::Transport;

class TransportLock : public Transport
{
protected:
    void expectLockedOut() const
    {
        const auto filesBefore = files();
        const support::CapturedTrace trace;
        EXPECT_EQ(call(), apiError(2));
        EXPECT_EQ(trace.text(), line("Error: file already locked : ", EWOULDBLOCK));
        EXPECT_EQ(files(), filesBefore);
    }
};

TEST_F(TransportLock, HeldByAnotherDescriptorEndsTheCallAtOnce)
{
    peer.answer("0 a");
    for (const int kind : {LOCK_EX, LOCK_SH}) {
        const Descriptor holder = Descriptor::open(pipes.lock, O_RDONLY);
        ASSERT_EQ(::flock(holder.get(), kind), 0);
        expectLockedOut();
    }
    EXPECT_TRUE(peer.messages().empty());
    EXPECT_EQ(call(), payload("a")) << "once it is released";
}

TEST_F(TransportLock, TracesNothingWithoutTheDebugFlag)
{
    const Descriptor holder = Descriptor::open(pipes.lock, O_RDONLY);
    ASSERT_EQ(::flock(holder.get(), LOCK_EX), 0);
    const support::CapturedErrors errors;
    EXPECT_EQ(call(), apiError(2));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(TransportLock, RefusalDoesNotTouchTheFifosOfTheOtherCall)
{
    const Descriptor holder = Descriptor::open(pipes.lock, O_RDONLY);
    ASSERT_EQ(::flock(holder.get(), LOCK_EX), 0);
    ASSERT_EQ(::mkfifo(pipes.out.c_str(), 0600), 0);
    struct stat before = {};
    struct stat after = {};
    ::stat(pipes.out.c_str(), &before);
    expectLockedOut();
    ::stat(pipes.out.c_str(), &after);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
}

/// A child process that runs `work` and then waits until the object ends.
class Child
{
public:
    template <class Work>
    explicit Child(Work work) : m_pid(::fork())
    {
        if (m_pid == -1) {
            throw std::system_error(errno, std::generic_category(), "fork");
        }
        if (m_pid == 0) {
            work();
            for (;;) {
                ::pause();
            }
        }
    }
    ~Child()
    {
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

private:
    const pid_t m_pid;
};

TEST_F(TransportLock, HeldByAnotherProcessEndsTheCallAtOnce)
{
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const Descriptor readyToRead(ready[0]);
    const Descriptor readyToWrite(ready[1]);
    {
        const Child holder([&] {
            ::flock(::open(pipes.lock.c_str(), O_WRONLY), LOCK_EX);
            ostrel::writeAll(readyToWrite, "!");
        });
        char mark = 0;
        ASSERT_EQ(::read(readyToRead.get(), &mark, 1), 1);
        expectLockedOut();
    }
    peer.answer("0 a");
    EXPECT_EQ(call(), payload("a")) << "the other process has ended";
}

TEST_F(TransportLock, IsReleasedEvenIfAForkedProcessSharesIt)
{
    std::unique_ptr<Child> child;
    peer.play([&](ScriptedPeer::Call& caller) {
        caller.takeMessage();
        child = std::make_unique<Child>([] {});
        caller.openReply();
        caller.send("0 a");
    });
    EXPECT_EQ(call(), payload("a"));
    expectReleased();
}

TEST_F(TransportLock, AdmitsOneOfTwoThreadsAndRefusesTheOtherAtOnce)
{
    for (int i = 0; i < 100; ++i) {
        std::promise<void> turnedAway;
        const auto callAndReport = [&] {
            const std::string outcome = call();
            if (outcome == apiError(2)) {
                turnedAway.set_value();
            }
            return outcome;
        };
        auto first = std::async(std::launch::async, callAndReport);
        auto second = std::async(std::launch::async, callAndReport);
        // The admitted call waits meanwhile, because the peer does not read its
        // message yet.
        turnedAway.get_future().wait();
        peer.answer("0 a");
        std::vector<std::string> outcomes = {first.get(), second.get()};
        std::sort(outcomes.begin(), outcomes.end());
        EXPECT_EQ(outcomes, (std::vector<std::string>{apiError(2), payload("a")}));
    }
    EXPECT_EQ(peer.messages().size(), 100U);
}

TEST_F(TransportLock, SeparatesManyConcurrentCalls)
{
    constexpr int threads = 6;
    constexpr int calls = 50;
    for (int i = 0; i < threads * calls; ++i) {
        peer.play([this](ScriptedPeer::Call& caller) {
            caller.takeMessage();
            caller.openReply();
            caller.send("0 " + peer.lastMessage());
        });
    }
    const auto callOften = [this](int thread) {
        int answered = 0;
        for (int i = 0; i < calls; ++i) {
            const std::string own = std::to_string(thread) + '.' + std::to_string(i);
            const std::string outcome = callWith({own});
            if (outcome != apiError(2)) {
                EXPECT_EQ(outcome.substr(outcome.rfind('\t') + 1), own);
                ++answered;
            }
        }
        return answered;
    };
    std::vector<std::future<int>> results;
    for (int thread = 0; thread < threads; ++thread) {
        results.push_back(std::async(std::launch::async, callOften, thread));
    }
    std::size_t answered = 0;
    for (std::future<int>& result : results) {
        answered += static_cast<std::size_t>(result.get());
    }
    EXPECT_GE(answered, 1U);
    EXPECT_EQ(peer.messages().size(), answered);
    expectReleased();
}

TEST_F(TransportLock, OfOneServiceDoesNotAffectAnother)
{
    ScriptedPeer vpn(device, "vpn");
    vpn.answer("0 vpn");
    const Descriptor holder = Descriptor::open(pipes.lock, O_RDONLY);
    ASSERT_EQ(::flock(holder.get(), LOCK_EX), 0);
    EXPECT_EQ(call(), apiError(2));
    pipes = ostrelApi::pipesOf(device.pipesDirectory() + "/vpn", "vpn", "root");
    EXPECT_EQ(call(), payload("vpn"));
}

/// Names of the service's files that the process has open, and an empty name
/// for each that an executed program would inherit.
std::set<std::string> openFilesOf(const std::string& directory)
{
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const fs::path file = fs::read_symlink(entry.path(), gone);
        if (!gone && file.parent_path() == fs::canonical(directory)) {
            const int flags = ::fcntl(std::stoi(entry.path().filename()), F_GETFD);
            names.insert((flags & FD_CLOEXEC) != 0 ? file.filename().string() : "");
        }
    }
    return names;
}

TEST_F(Transport, PassesNoDescriptorToExecutedPrograms)
{
    std::set<std::string> whileWriting;
    std::set<std::string> whileReading;
    peer.play([&](ScriptedPeer::Call& caller) {
        caller.meet();
        whileWriting = openFilesOf(directory);
        caller.takeMessage();
        caller.openReply();
        whileReading = openFilesOf(directory);
        caller.send("0 ");
    });
    EXPECT_EQ(callWithLongMessage(), payload(""));
    EXPECT_EQ(whileWriting, (std::set<std::string>{"web.in", "web.lock"}));
    EXPECT_EQ(whileReading, (std::set<std::string>{"web.lock", "web.out"}));
    EXPECT_EQ(openFilesOf(directory), std::set<std::string>());
}

} // namespace
