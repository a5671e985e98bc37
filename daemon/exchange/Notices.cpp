#include "exchange/Notices.h"

#include "base/Files.h"
#include "base/PipeFiles.h"

#include <climits>
#include <string_view>

#include <sys/inotify.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

Notices::Notices(const std::string& directory, const std::string& service)
    : m_service(service),
      m_events(requireOpen(Descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)), "make",
                           "an inotify instance"))
{
    constexpr unsigned int changes = IN_CREATE | IN_DELETE | IN_MOVE | IN_ONLYDIR;
    m_directory = watch(directory, changes);
}

void Notices::watchCommand(const std::string& path)
{
    m_command = watch(path, IN_MODIFY | IN_CLOSE_WRITE);
}

void Notices::watchLock(const std::string& path)
{
    m_lock = watch(path, IN_CLOSE_WRITE);
}

int Notices::watch(const std::string& path, unsigned int events) const
{
    const int number = ::inotify_add_watch(m_events.get(), path.c_str(), events);
    if (number == -1) {
        failSystemCall("watch", path);
    }
    return number;
}

bool Notices::watchReply(const std::string& path)
{
    m_reply = ::inotify_add_watch(m_events.get(), path.c_str(), IN_OPEN);
    return m_reply != -1;
}

void Notices::ignoreReply()
{
    if (m_reply != -1) {
        ::inotify_rm_watch(m_events.get(), m_reply);
        m_reply = -1;
    }
}

// A read that leaves room for one more notice has emptied the queue.
void Notices::read(const std::function<void(Notice)>& take) const
{
    constexpr ssize_t largestEvent = sizeof(inotify_event) + NAME_MAX + 1;
    alignas(inotify_event) char bytes[4096];
    for (ssize_t count = sizeof bytes; count > ssize_t{sizeof bytes} - largestEvent;) {
        count = ::read(m_events.get(), bytes, sizeof bytes);
        for (ssize_t at = 0; at < count;) {
            const auto* event = reinterpret_cast<const inotify_event*>(bytes + at);
            tell(*event, take);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
}

void Notices::tell(const inotify_event& event, const std::function<void(Notice)>& take) const
{
    if ((event.mask & IN_Q_OVERFLOW) != 0) {
        take(Notice::Lost);
    } else if (event.wd == m_command && (event.mask & IN_MODIFY) != 0) {
        take(Notice::CommandWritten);
    } else if (event.wd == m_command && (event.mask & IN_CLOSE_WRITE) != 0) {
        take(Notice::CommandClosed);
    } else if (event.wd == m_lock && (event.mask & IN_CLOSE_WRITE) != 0) {
        take(Notice::LockClosed);
    } else if (event.wd == m_reply && (event.mask & IN_OPEN) != 0) {
        take(Notice::ReplyOpened);
    } else if (event.wd == m_directory && event.len > 0) {
        tellOfFile(event.name, event.mask, take);
    }
}

void Notices::tellOfFile(std::string_view name, unsigned int mask,
                         const std::function<void(Notice)>& take) const
{
    const bool isGone = (mask & (IN_DELETE | IN_MOVED_FROM)) != 0;
    if (name == m_service + ".in" && isGone) {
        take(Notice::CommandGone);
    } else if (name == m_service + ".out") {
        take(isGone ? Notice::ReplyGone : Notice::ReplyCreated);
    }
}

} // namespace ostreld
