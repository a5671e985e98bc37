#pragma once

#include "tools/Descriptor.h"

#include <set>
#include <string>

namespace support
{

/// Sees what is done to the files of some directories from now on: that one is
/// opened, read, written, made, changed or removed.
class FileWatch
{
public:
    explicit FileWatch(const std::set<std::string>& directories);

    /// Names of the files to which anything was done since the last look; of a
    /// watched directory itself, an empty one.
    std::set<std::string> touched() const;

private:
    const ostrel::Descriptor m_events;
};

} // namespace support
