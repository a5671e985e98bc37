#pragma once

#include "tools/Descriptor.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace support
{

class Device;

/// Takes the daemon's place at one service's pipes and treats its callers as a
/// test says, also as no correct daemon would. It creates the lock file and the
/// command FIFO; the destructor removes them.
///
/// Each call of the library meets one act, in the order in which the test added
/// the acts. A call without an act waits until the test adds one. A thread of
/// the peer performs the acts, with every signal blocked; an act that fails
/// fails the test. The destructor ends the thread, even while it waits for a
/// call. End your calls before you destroy the peer.
///
///     support::ScriptedPeer peer(device, "web");
///     peer.answer("0 payload");
///     ... // a call
///     EXPECT_EQ(peer.lastMessage(), ...);
class ScriptedPeer
{
public:
    class Call;
    using Act = std::function<void(Call&)>;

    ScriptedPeer(const Device& device, const std::string& service);
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    /// Reads the message and writes `reply` in one piece.
    void answer(const std::string& reply);

    /// Like answer(), but each read() of the caller gets one piece. No piece
    /// may be longer than the caller's buffer.
    void answerInPieces(const std::vector<std::string>& pieces);

    /// Closes the command FIFO after the caller has opened it and before it can
    /// write, because the FIFO is full: the write fails. Then writes `reply`.
    /// Takes effect immediately, so every earlier act must have been performed.
    void hangUpAndAnswer(const std::string& reply);

    /// Performs any other act.
    void play(Act act);

    /// Waits until every act has been performed. A call without a reply may end
    /// before its act does, and the next call would then meet the same act.
    void finish();

    /// What each call wrote, as far as the peer read it. The message of an
    /// answered call is there when the call returns.
    std::vector<std::string> messages() const;
    std::string lastMessage() const;

    const std::string& lockPath() const { return m_lock; }
    const std::string& inPath() const { return m_in; }
    const std::string& outPath() const { return m_out; }

private:
    void run();
    Act nextAct();
    void record(std::string message);
    template <class Wait>
    void await(const ostrel::Descriptor& fifo, Wait wait);
    void setAwaited(int fifo);
    ostrel::Descriptor openWhenMet(const std::string& path, int flags);

    const std::string m_lock;
    const std::string m_in;
    const std::string m_out;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Act> m_acts;
    std::vector<std::string> m_messages;
    bool m_isActing = false;
    bool m_isStopping = false;
    // The FIFO at which the thread waits for a caller, or -1.
    int m_awaited = -1;

    std::thread m_thread;
};

/// One call, as the peer sees it, for the tests' own acts.
class ScriptedPeer::Call
{
public:
    explicit Call(ScriptedPeer& peer) : m_peer(peer) {}

    /// Waits until the caller has opened the command FIFO.
    void meet();
    /// Reads the first `length` bytes of the message.
    std::string takeStart(std::size_t length);
    /// Reads the message until the caller closes the command FIFO.
    void takeMessage();
    /// Stops reading the message.
    void leave();

    /// Waits until the caller has opened the reply FIFO.
    void openReply();
    /// Writes `text` in one piece. The reply ends with the act.
    void send(const std::string& text);
    /// Writes `text`, or as much of it as the caller reads.
    void sendUntilClosed(const std::string& text);
    /// Writes each piece for one read() of the caller.
    void sendPieces(const std::vector<std::string>& pieces);

private:
    ScriptedPeer& m_peer;
    ostrel::Descriptor m_in;
    ostrel::Descriptor m_out;
    std::string m_message;
};

} // namespace support
