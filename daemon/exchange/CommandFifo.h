#pragma once

#include "tools/Descriptor.h"

#include <optional>
#include <string>

namespace ostreld
{

/// The FIFO through which a service's clients send, one message for each
/// opening: a message is whole when its writer closes the FIFO. For one thread.
class CommandFifo
{
public:
    static constexpr std::size_t largestMessage = 64 * 1024;

    struct Message {
        std::string text;
        // Its text is not kept then.
        bool isTooLong = false;
    };

    /// Makes it, and opens it.
    explicit CommandFifo(std::string path);

    /// What to wait for until isReady(); -1 while it is to be reopened.
    int reader() const { return m_isToBeReopened ? -1 : m_fifo.get(); }

    /// Lets `group` write into it.
    void shareWith(gid_t group) const;

    /// Whether there is something to take().
    bool isReady() const;

    /// Takes some of what was written: the message when that is its end.
    std::optional<Message> take();

    /// Opens it anew, so that the next writer is never mistaken for the last one.
    /// Where there is no descriptor for that, it has to be done later.
    void reopen();
    bool isToBeReopened() const { return m_isToBeReopened; }

    /// Whether a client has it open; for the end, for this takes a byte.
    bool isMessageUnderWay() const;

    /// Takes its name away: clients are told that the daemon is off.
    void remove() const;
    void close() { m_fifo.close(); }

private:
    void append(const char* bytes, std::size_t count);

    const std::string m_path;
    ostrel::Descriptor m_fifo;
    Message m_message;
    bool m_isToBeReopened = false;
};

} // namespace ostreld
