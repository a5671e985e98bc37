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

/// Stands where the daemon stands, at the far end of one service's pipes, and
/// does to its callers what a test tells it to: also what no good daemon does.
/// It makes the lock file and the command FIFO, and removes them in the end.
///
/// Each call of the library is met by one act, in the order in which the acts
/// were given; a call that no act is left for waits until there is one. Acts are
/// performed by a thread of the peer's own, with every signal blocked; one that
/// fails fails the test. The destructor ends the thread, also one that waits
/// for a call that never comes; calls that are still under way are to be ended
/// before.
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

    /// Takes the message and writes `reply` at once.
    void answer(const std::string& reply);

    /// The same, and each read() of the caller gets one piece. No piece is
    /// longer than what the caller reads at most.
    void answerInPieces(const std::vector<std::string>& pieces);

    /// Goes away while the caller, past its open(), cannot write yet, for the
    /// FIFO is full: the write fails. Then writes `reply`. It takes effect at
    /// once, so every act before must have been performed.
    void hangUpAndAnswer(const std::string& reply);

    /// Does anything else.
    void play(Act act);

    /// Waits until every act has been performed. A call that gets no reply may
    /// end before its act, and one more call would then meet the same act.
    void finish();

    /// What each call wrote, up to where the peer stopped reading. The message
    /// of a call that was answered is there when the call returns.
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
    // The FIFO that the thread waits for somebody at, or -1.
    int m_awaited = -1;

    std::thread m_thread;
};

/// One call, as the peer sees it, for acts of a test's own.
class ScriptedPeer::Call
{
public:
    explicit Call(ScriptedPeer& peer) : m_peer(peer) {}

    /// Waits until the caller has opened the command FIFO.
    void meet();
    /// Reads the first `length` bytes of the message.
    std::string takeStart(std::size_t length);
    /// Reads the message to its end: the caller has closed the command FIFO.
    void takeMessage();
    /// Stops reading the message.
    void leave();

    /// Waits until the caller has opened the reply FIFO.
    void openReply();
    /// Writes `text` at once. The reply ends with the act.
    void send(const std::string& text);
    /// Writes each piece for one read() of the caller.
    void sendPieces(const std::vector<std::string>& pieces);

private:
    ScriptedPeer& m_peer;
    ostrel::Descriptor m_in;
    ostrel::Descriptor m_out;
    std::string m_message;
};

} // namespace support
