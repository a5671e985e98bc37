#pragma once

#include "tools/Descriptor.h"

#include <functional>
#include <string>
#include <string_view>

struct inotify_event;

namespace ostreld
{

/// The events in the directory of a service's pipes, in the order of the kernel.
enum class Notice {
    CommandWritten,
    CommandClosed,
    CommandGone,
    ReplyCreated,
    ReplyGone,
    ReplyOpened,
    LockClosed,
    Lost,
};

/// The inotify instance of one service.
class Notices
{
public:
    /// Watches the directory; throws std::runtime_error.
    Notices(const std::string& directory, const std::string& service);

    /// Watch writes into the command FIFO, and when it and the lock file are closed. A watch
    /// of the directory would report the daemon's own writes into reply FIFOs, too. They
    /// throw std::runtime_error.
    void watchCommand(const std::string& path);
    void watchLock(const std::string& path);

    /// Watches when a reply FIFO is opened; `path` names its descriptor. Returns false if the
    /// machine has no watch left.
    [[nodiscard]] bool watchReply(const std::string& path);
    void ignoreReply();

    int descriptor() const { return m_events.get(); }

    /// Reads all queued events and calls `take` for each notice.
    void read(const std::function<void(Notice)>& take) const;

private:
    int watch(const std::string& path, unsigned int events) const;
    void tell(const inotify_event& event, const std::function<void(Notice)>& take) const;
    void tellOfFile(std::string_view name, unsigned int mask,
                    const std::function<void(Notice)>& take) const;

    const std::string m_service;
    const ostrel::Descriptor m_events;
    int m_directory = -1;
    int m_command = -1;
    int m_lock = -1;
    int m_reply = -1;
};

} // namespace ostreld
