#pragma once

#include "tools/Descriptor.h"

#include <cstdint>
#include <set>
#include <string>

#include <sys/inotify.h>

namespace support
{

/// Records which files in some directories are opened, read, written, created,
/// changed or removed from now on, or only those that have some of the inotify
/// events `events`.
class FileWatch
{
public:
    explicit FileWatch(const std::set<std::string>& directories,
                       std::uint32_t events = IN_ALL_EVENTS);

    /// The names of the files that were touched since the last call. An empty
    /// name stands for a watched directory itself.
    std::set<std::string> touched() const;

    /// Waits until the file `name` was touched. Throws std::runtime_error after
    /// 30 s in which no file was.
    void awaitTouch(const std::string& name) const;

private:
    const ostrel::Descriptor m_events;
};

} // namespace support
