#pragma once

#include "base/Loop.h"
#include "exchange/Binding.h"
#include "exchange/CommandFifo.h"
#include "exchange/Delivery.h"
#include "exchange/LockFile.h"
#include "exchange/Notices.h"
#include "exchange/PinnedReply.h"

#include <functional>
#include <string>

namespace ostreld
{

/// A message, and the reply FIFO of the caller that waits for its reply.
struct Call {
    Binding::Message message;
    PinnedReply reply;
};

/// The daemon's side of one service's pipes. It creates the lock file and the command FIFO,
/// passes each message on with the reply FIFO that belongs to it, and delivers the replies.
/// It only waits for events, so a caller can stop or die in any step:
///
///   - The order of events distinguishes a caller that gave up from one that waits (Binding).
///   - A reply waits in its FIFO until the caller opens it (Delivery).
///   - A caller that closes the lock file has finished or is dead. If its reply FIFO still
///     exists and nobody is in a call, the FIFO is removed.
class Exchange
{
public:
    using OnCall = std::function<void(Call)>;

    /// Creates the files of `service` in `directory`, which must exist, and opens it to the
    /// group. Continues a call that a former daemon left.
    Exchange(Loop& loop, const std::string& directory, const std::string& service, gid_t group,
             OnCall onCall);
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    /// For a service that nobody serves. Answers the callers that a former daemon left
    /// waiting, and lets new ones find the daemon off. Waits for them for about a second.
    static void retire(const std::string& directory, const std::string& service);

    /// From now on `group` may call.
    void shareWith(gid_t group);

    /// Delivers the reply to a call, or drops it if the caller is gone.
    void answer(PinnedReply reply, std::string text);

    /// New callers find the daemon off. Calls in progress continue.
    void close();

    /// Call it after close() and the last answer. Lets a caller finish its call for about a
    /// second, then calls `onEnd`.
    void finish(Loop::Action onEnd);

private:
    void takeUpFormerCall();
    void takeNotices();
    void takeBytes();
    void lookAtReply(bool isFormerCallerWaiting);
    bool readNotices();
    bool takeNotice(Notice notice);
    bool bind();
    void takeLater(int milliseconds);

    void sweepLater();
    void beginSweeps();
    void sweep();
    void removeLeftReply();
    void end();

    const std::string m_service;
    const std::string m_directory;
    const std::string m_replyPath;
    Loop& m_loop;
    const OnCall m_onCall;
    Binding m_binding;
    // Before the files, so that it misses no event of theirs.
    Notices m_notices;
    CommandFifo m_command;
    // After the command FIFO, because clients take the lock file as the sign of a daemon.
    LockFile m_lock;
    Delivery m_delivery;
    Loop::Source m_noticesSource;
    Loop::Source m_bytesSource;
    Loop::Source m_later;
    Loop::Source m_sweepTimer;
    std::size_t m_sweepsLeft = 0;
    bool m_isClosed = false;
    Loop::Action m_onEnd;
};

} // namespace ostreld
