#include "support/FileWatch.h"

#include "support/Await.h"

#include <cerrno>
#include <system_error>

namespace support
{

FileWatch::FileWatch(const std::set<std::string>& directories, std::uint32_t events)
    : m_events(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK))
{
    for (const std::string& directory : directories) {
        if (::inotify_add_watch(m_events.get(), directory.c_str(), events) == -1) {
            throw std::system_error(errno, std::generic_category(), directory);
        }
    }
}

std::set<std::string> FileWatch::touched() const
{
    std::set<std::string> names;
    alignas(inotify_event) char buffer[16384];
    ssize_t length = 0;
    while ((length = ::read(m_events.get(), buffer, sizeof buffer)) > 0) {
        for (const char* place = buffer; place < buffer + length;) {
            const auto* event = reinterpret_cast<const inotify_event*>(place);
            names.insert(event->len > 0 ? event->name : "");
            place += sizeof(inotify_event) + event->len;
        }
    }
    return names;
}

void FileWatch::awaitTouch(const std::string& name) const
{
    while (touched().count(name) == 0) {
        awaitReadable(m_events, name + " to be touched");
    }
}

} // namespace support
