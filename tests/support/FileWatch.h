#pragma once

#include "tools/Descriptor.h"

#include <set>
#include <string>

namespace support
{

/// Records which files in some directories are opened, read, written, created,
/// changed or removed from now on.
class FileWatch
{
public:
    explicit FileWatch(const std::set<std::string>& directories);

    /// The names of the files that were touched since the last call. An empty
    /// name stands for a watched directory itself.
    std::set<std::string> touched() const;

private:
    const ostrel::Descriptor m_events;
};

} // namespace support
