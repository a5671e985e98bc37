#pragma once

#include "base/Event.h"
#include "exchange/CommandFifo.h"
#include "exchange/LockFile.h"
#include "exchange/ReplyFifo.h"

#include "tools/Descriptor.h"

#include <atomic>
#include <functional>
#include <optional>
#include <string>

namespace ostreld
{

/// The daemon's end of one service's exchange: it makes the lock file and the
/// command FIFO, takes one message for each opening of the FIFO, and answers on
/// the reply FIFO that the client made for the call.
///
/// It waits for events and for nothing else, so a client that stalls or dies at
/// any step costs nothing:
///
///   - A message is whole when its writer closes the command FIFO. The daemon
///     opens it anew before it answers, so that the next writer is never
///     mistaken for this one.
///   - The reply waits in the reply FIFO for a client that has yet to open it.
///   - A client that closes the lock file has finished or is dead. If the reply
///     FIFO is still there and no client is in a call, it was left behind and goes.
///
/// One thread runs it; wake() and stop() may be called from any.
class Channel
{
public:
    /// Turns a message into a reply, "return code, blank, payload".
    using Answer = std::function<std::string(const std::string& message)>;

    /// What run() does besides: `onWake` after each wake(), `onClock` whenever
    /// the descriptor `clock` becomes readable.
    struct Duties {
        Answer answer;
        std::function<void()> onWake;
        int clock;
        std::function<void()> onClock;
    };

    /// Makes the files of `service` in `directory`, which must exist, opens it to
    /// the group, and takes up calls that a former daemon left half done.
    Channel(const std::string& directory, const std::string& service, gid_t group);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    /// Does for a service that nobody serves what is left to do: callers whom a
    /// former daemon left waiting have an answer, and new ones are told that the
    /// daemon is off.
    static void retire(const std::string& directory, const std::string& service);

    /// Answers messages until stop().
    void run(const Duties& duties);

    /// While a message is answered: as ReplyFifo::confide().
    std::optional<uid_t> confideReply() { return m_reply.confide(); }

    /// Lets another group call from now on; for the thread that runs it.
    void shareWith(gid_t group);

    void wake() { m_wake.give(); }

    /// Lets a call that is under way end, takes no new one, and makes run()
    /// return.
    void stop();

    /// Tells clients from now on that nobody serves them; after run().
    void end();

private:
    void takeUpFormerCall();
    bool keepClientsOut() const;

    void takeInput(const Answer& answer);
    std::string replyTo(const CommandFifo::Message& message, const Answer& answer) const;
    bool isShort() const;
    void doWhatWasShort();
    void takeNotices();
    void takeWake(const std::function<void()>& onWake);

    void reply(std::string text);
    void answerFormerCall();

    void sweep();
    void removeLeftReplyFifo();
    void sweepAgainSoon();
    void beginStop();

    const std::string m_service;
    const std::string m_directory;
    ostrel::Descriptor m_notices;
    const Event m_wake;
    ostrel::Descriptor m_timer;

    CommandFifo m_in;
    // After that one, for it is what tells clients that the daemon is there.
    LockFile m_lock;
    // A client that a former daemon left waiting has it open here before there
    // is an answer.
    ReplyFifo m_reply;

    std::size_t m_sweepsLeft = 0;
    std::atomic<bool> m_isStopAsked{false};
    bool m_isStopping = false;
    bool m_isDone = false;
};

} // namespace ostreld
