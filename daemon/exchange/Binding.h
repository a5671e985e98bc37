#pragma once

#include <cstddef>
#include <string>

#include <sys/types.h>

namespace ostreld
{

/// Decides which message belongs to the caller whose reply FIFO exists, from the order of the
/// events in the directory. It uses no descriptor.
///
/// A caller creates the reply FIFO, writes its message and closes the command FIFO. A caller
/// that gives up removes the reply FIFO, and the next caller creates another. The command
/// FIFO does not separate messages, so messages of callers that gave up can precede the
/// message of the caller that waits. Each write is one notice. If there are as many writes as
/// heads of messages, the last head starts the message that counts. Otherwise the messages
/// cannot be separated, and the caller is refused.
class Binding
{
public:
    static constexpr std::size_t largestMessage = 64 * 1024;

    enum class Clarity { Clear, TooLong, Unclear };
    struct Message {
        std::string text;
        Clarity clarity = Clarity::Clear;
    };

    void replyCreated();
    void replyGone() { m_caller = Caller::None; }
    void written()
    {
        ++m_writes;
        ++m_ownWrites;
    }
    void closed() { m_isClosed = true; }

    /// Events were lost. `isReplyThere` is the state after that.
    void eventsLost(bool isReplyThere);

    void append(const char* bytes, std::size_t count);

    bool hasBytes() const { return m_isTooLong || !m_text.empty(); }

    /// Whether somebody has used the command FIFO since the last message.
    bool isUsed() const { return m_writes > 0 || m_isClosed || hasBytes(); }

    /// Whether a caller waits and its message is complete.
    bool isComplete() const;

    /// Whether the bytes belong to no caller that waits.
    bool isAbandoned() const;

    /// Returns the message of the caller that waits. Later bytes do not belong to it.
    Message take();

    /// Drops the bytes.
    void discard();

    /// Whether a caller's reply FIFO exists, according to the events.
    bool isReplyThere() const { return m_caller != Caller::None; }

private:
    // There is no reply FIFO; its message is awaited; its message has been taken.
    enum class Caller { None, Sending, Sent };

    Message separated() const;

    Caller m_caller = Caller::None;
    bool m_isClosed = false;
    bool m_areEventsLost = false;
    bool m_isTooLong = false;
    // The bytes may include those that others wrote before the caller came.
    bool m_isMixed = false;
    std::size_t m_writes = 0;
    // The writes since the caller came.
    std::size_t m_ownWrites = 0;
    std::string m_text;
};

} // namespace ostreld
