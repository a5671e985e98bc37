#pragma once

#include "base/Loop.h"
#include "exchange/Notices.h"
#include "exchange/PinnedReply.h"

#include "tools/Descriptor.h"

#include <string>

namespace ostreld
{

/// Delivers one reply to its caller.
///
/// The daemon opens the writing end when the reply is ready, because that makes the caller's
/// open() return. Usually the caller waits there, and one write ends the delivery. Otherwise
/// the daemon also holds a reading end, so that the bytes stay in the FIFO, until a notice
/// reports that the caller has opened it.
class Delivery
{
public:
    Delivery(Loop& loop, Notices& notices, std::string path);
    ~Delivery() { drop(); }
    Delivery(const Delivery&) = delete;
    Delivery& operator=(const Delivery&) = delete;

    /// Starts to deliver `text`. Drops a reply in progress: only one reply FIFO exists at a
    /// time, so the caller of that one is gone.
    void give(PinnedReply reply, std::string text);

    /// Opens `reply` to detect when its caller opens it. A give() for the same FIFO delivers
    /// a text there.
    void hold(PinnedReply reply);
    bool isHolding() const { return m_isHolding; }
    /// Whether a notice will report that the caller opens the FIFO.
    bool isWatched() const { return m_isWatched; }

    /// Whether the caller has opened the FIFO of hold().
    [[nodiscard]] bool isHeldOneOpened();

    /// Call it when the caller may have opened the FIFO.
    void onOpened();

    /// Call it when a reply FIFO was removed.
    void onGone();

    /// Whether a reply may not have reached its caller yet.
    bool isUnderWay() const { return m_reply.isPinned() && !m_isHolding; }

    /// Whether its FIFO has the name `path`.
    bool isAt(const std::string& path) const { return m_reply.isAt(path); }

    /// Closes everything, and wipes the reply, which can be a key.
    void drop();

private:
    void attempt();
    void open();
    bool isCallerAbsent() const;
    void openBothEnds();
    void retryOrGiveUp(int error);
    void retryLater();
    void writeOn();
    bool isOpenedByCaller();
    void finishIfTaken();
    bool isWritten() const { return m_written == m_text.size(); }

    Loop& m_loop;
    Notices& m_notices;
    const std::string m_path;
    PinnedReply m_reply;
    std::string m_text;
    std::size_t m_written = 0;
    bool m_isHolding = false;
    // False if the machine had no watch left.
    bool m_isWatched = false;
    ostrel::Descriptor m_reader;
    ostrel::Descriptor m_writer;
    Loop::Source m_room;
    Loop::Source m_retry;
    int m_attempts = 0;
};

} // namespace ostreld
