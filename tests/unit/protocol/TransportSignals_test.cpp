#include "unit/protocol/TransportCase.h"

#include "support/Interruption.h"

#include <csignal>
#include <ctime>
#include <thread>

#include <sys/stat.h>

namespace
{

using support::apiError;
using support::Interruption;
using support::ScriptedPeer;
using transport_case::payload;
using transport_case::Transport;

TEST_F(Transport, IsEndedByASignalWhileItWaitsForAReader)
{
    const auto filesBefore = files();
    for (const bool isTraced : {true, false}) {
        const support::CapturedTrace trace(isTraced);
        Interruption interruption;
        std::thread signaller([&] { interruption.untilOver(); });
        EXPECT_EQ(call(), apiError(1));
        interruption.over();
        signaller.join();
        EXPECT_EQ(trace.text(),
                  isTraced ? line("Error: Failed to open FIFO IN file: " + pipes.in + ": ", EINTR)
                           : "");
        EXPECT_EQ(files(), filesBefore);
        expectReleased();
    }
}

TEST_F(Transport, TracesAMissingReplyFifoWhenASignalEndsTheWait)
{
    const support::CapturedTrace trace;
    Interruption interruption;
    const mode_t former = ::umask(077);
    std::thread signaller([&] {
        // Setting the mode is the caller's last step with the file.
        struct stat status = {};
        while (::stat(pipes.out.c_str(), &status) != 0 || (status.st_mode & 07777) != 0760) {
            std::this_thread::yield();
        }
        std::filesystem::remove(pipes.out);
        interruption.untilOver();
    });
    EXPECT_EQ(call(), apiError(1));
    interruption.over();
    signaller.join();
    ::umask(former);
    EXPECT_EQ(trace.text(),
              line("Error: Failed to open FIFO IN file: " + pipes.in + ": ", EINTR) +
                  line("Error: Failed to remove FIFO OUT :" + pipes.out + " : ", ENOENT));
    expectReleased();
}

TEST_F(Transport, ThrowsTheTextOfEintrWhenASignalEndsItsWaitForTheReply)
{
    for (const bool isTraced : {true, false}) {
        const support::CapturedTrace trace(isTraced);
        Interruption interruption;
        peer.play([&](ScriptedPeer::Call& caller) {
            caller.takeMessage();
            interruption.untilOver();
        });
        EXPECT_EQ(call(), std::string("std::runtime_error: ") + std::strerror(EINTR));
        interruption.over();
        peer.finish();
        EXPECT_EQ(trace.text(),
                  isTraced
                      ? messageLine() +
                            line("Error: Failed to open FIFO OUT file: " + pipes.out + " : ", EINTR)
                      : "");
        expectReleased();
        peer.answer("0 next");
        EXPECT_EQ(call(), payload("next"));
    }
}

TEST_F(Transport, UsesThePartOfAReplyThatArrivedBeforeASignal)
{
    const std::pair<const char*, std::string> rows[] = {
        {"", apiError(1)},
        {"0", payload("0")},
        {"0 ha", payload("ha")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.first);
        Interruption interruption;
        peer.play([&](ScriptedPeer::Call& caller) {
            caller.takeMessage();
            caller.openReply();
            caller.send(row.first);
            interruption.untilOver();
        });
        EXPECT_EQ(call(), row.second);
        interruption.over();
        peer.finish();
        expectReleased();
        peer.answer("0 next");
        EXPECT_EQ(call(), payload("next"));
    }
}

TEST_F(Transport, DoesNotContinueAWriteThatASignalInterrupted)
{
    const Interruption interruption;
    peer.play([&](ScriptedPeer::Call& caller) {
        caller.meet();
        // The write has begun and cannot complete, because the pipe is too
        // small.
        caller.takeStart(1);
        interruption.once();
        caller.takeMessage();
        caller.openReply();
        caller.send("0 a");
    });
    const support::CapturedTrace trace;
    EXPECT_EQ(callWithLongMessage(200000), payload("a"));
    EXPECT_EQ(trace.text().find("Error"), std::string::npos);
    const std::string message = peer.lastMessage();
    EXPECT_LT(message.size(), 200000U);
    EXPECT_EQ(message.substr(message.size() - 3), "xxx") << "the message ends within the argument";
}

/// How a caller may have set up SIGPIPE.
struct SigpipeRow {
    const char* sentence;
    void (*handler)(int);
    bool isBlocked;
    bool isPending;
};

volatile std::sig_atomic_t handled = 0;

void countSigpipe(int /*signal*/)
{
    handled = handled + 1;
}

const SigpipeRow sigpipeRows[] = {
    {"the default, which kills the process", SIG_DFL, false, false},
    {"ignored", SIG_IGN, false, false},
    {"handled", countSigpipe, false, false},
    {"blocked", SIG_DFL, true, false},
    {"blocked and ignored", SIG_IGN, true, false},
    {"blocked and handled", countSigpipe, true, false},
    {"already pending", SIG_DFL, true, true},
    {"already pending and handled", countSigpipe, true, true},
};

/// Sets SIGPIPE up for the calling thread, and checks afterwards that nothing
/// has changed.
class Sigpipe
{
public:
    explicit Sigpipe(const SigpipeRow& row) : m_row(row)
    {
        struct sigaction action = {};
        action.sa_handler = row.handler;
        ::sigaction(SIGPIPE, &action, nullptr);
        ::sigemptyset(&m_set);
        ::sigaddset(&m_set, SIGPIPE);
        ::pthread_sigmask(row.isBlocked ? SIG_BLOCK : SIG_UNBLOCK, &m_set, nullptr);
        if (row.isPending) {
            ::pthread_kill(::pthread_self(), SIGPIPE);
        }
        handled = 0;
    }
    ~Sigpipe()
    {
        const timespec atOnce = {};
        ::sigtimedwait(&m_set, nullptr, &atOnce);
        ::pthread_sigmask(SIG_UNBLOCK, &m_set, nullptr);
        ::signal(SIGPIPE, SIG_DFL);
    }
    Sigpipe(const Sigpipe&) = delete;
    Sigpipe& operator=(const Sigpipe&) = delete;

    void expectUnchanged() const
    {
        struct sigaction action = {};
        sigset_t mask;
        sigset_t pending;
        ::sigaction(SIGPIPE, nullptr, &action);
        ::pthread_sigmask(SIG_BLOCK, nullptr, &mask);
        ::sigpending(&pending);
        EXPECT_EQ(action.sa_handler, m_row.handler);
        EXPECT_EQ(::sigismember(&mask, SIGPIPE) == 1, m_row.isBlocked);
        EXPECT_EQ(::sigismember(&pending, SIGPIPE) == 1, m_row.isPending);
        EXPECT_EQ(handled, 0) << "the caller's handler ran";
    }

private:
    const SigpipeRow& m_row;
    sigset_t m_set;
};

TEST_F(Transport, ReadsTheReplyEvenIfTheDaemonDisconnectsBeforeTheMessage)
{
    for (const SigpipeRow& row : sigpipeRows) {
        SCOPED_TRACE(row.sentence);
        const Sigpipe sigpipe(row);
        const support::CapturedTrace trace;
        peer.hangUpAndAnswer("0 late");
        EXPECT_EQ(call(), payload("late"));
        // Intended: the text names the reply FIFO.
        EXPECT_EQ(trace.text(),
                  messageLine() +
                      line("Error: Command write() operation failed :" + pipes.out + " : ", EPIPE));
        sigpipe.expectUnchanged();
        expectReleased();
    }
    EXPECT_TRUE(peer.messages().empty());
}

TEST_F(Transport, ReadsTheReplyEvenIfTheDaemonDisconnectsDuringTheMessage)
{
    for (const SigpipeRow& row : sigpipeRows) {
        SCOPED_TRACE(row.sentence);
        const Sigpipe sigpipe(row);
        peer.play([](ScriptedPeer::Call& caller) {
            caller.meet();
            caller.takeStart(1);
            caller.leave();
            caller.openReply();
            caller.send("7 late");
        });
        const support::CapturedTrace trace;
        EXPECT_EQ(callWithLongMessage(), apiError(7));
        EXPECT_EQ(trace.text().find("Error"), std::string::npos)
            << "a partial write is not an error";
        sigpipe.expectUnchanged();
        expectReleased();
    }
}

TEST_F(Transport, TracesNoFailedWriteWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    peer.hangUpAndAnswer("0 late");
    EXPECT_EQ(call(), payload("late"));
    EXPECT_EQ(errors.text(), "");
}

} // namespace
