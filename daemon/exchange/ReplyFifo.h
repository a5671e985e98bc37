#pragma once

#include "tools/Descriptor.h"

#include <optional>
#include <string>

#include <sys/types.h>

struct inotify_event;

namespace ostreld
{

/// The reply FIFO that a client makes for its call, and the reply on its way
/// through it. The daemon holds a reading end until the reply is written, so it
/// waits for no reader; the writing end stays open until the client has opened
/// its own, of which `notices`, an inotify descriptor, tells. For one thread.
class ReplyFifo
{
public:
    ReplyFifo(std::string path, const ostrel::Descriptor& notices);
    ~ReplyFifo();
    ReplyFifo(const ReplyFifo&) = delete;
    ReplyFifo& operator=(const ReplyFifo&) = delete;

    /// Whether anything has its name.
    bool isThere() const;

    /// Opens what has its name now, unless that is open or is no FIFO, or one
    /// that has another name besides: clients own the directory, and could have
    /// the daemon write somewhere else.
    void open();

    /// Makes the reply one for the FIFO's owner alone, whatever mode the FIFO has
    /// and whatever gets its name until give(). The owner; nothing when there is no
    /// FIFO, or the daemon may not do that to it.
    std::optional<uid_t> confide();

    /// Begins to write a reply. False, and the reply wiped, when there is no
    /// FIFO for it.
    bool give(std::string text);

    /// The writing end while the client has to make room in it; -1 otherwise.
    int blockedWriter() const;

    /// Goes on writing, as far as there is room.
    void writeOn();

    /// Whether a limit of the machine keeps it from being opened or watched: no
    /// event tells of it then, and lookAgain() is to be called now and then.
    bool isToBeLookedAt() const;
    void lookAgain();

    /// Whether `event` tells that somebody opened the FIFO.
    bool isOpening(const inotify_event& event) const;

    /// Whether a client waits in the FIFO and has been given nothing.
    bool isAwaited();

    /// Whether a reply has been given and not yet been taken.
    bool isAnswered() const { return m_isAnswered; }

    /// Closes it when the client has the whole reply within its reach.
    void dropIfTaken();

    /// Closes it, and wipes the reply, which may have been a key.
    void drop();

    /// Removes what has its name, whatever it is; false when that fails.
    bool remove() const;

private:
    void openNew();
    void watch();
    void delayIf(bool isShort);
    bool isCurrent() const;
    bool isUnwritten() const;
    bool isTaken();

    const std::string m_path;
    const ostrel::Descriptor& m_notices;
    ostrel::Descriptor m_reader;
    ostrel::Descriptor m_writer;
    int m_watch = -1;
    std::string m_text;
    std::size_t m_written = 0;
    bool m_isAnswered = false;
    bool m_isConfided = false;
    bool m_isDelayed = false;
};

} // namespace ostreld
