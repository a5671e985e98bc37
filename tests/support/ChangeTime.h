#pragma once

#include <cstdint>
#include <string>

namespace support
{

/// While it lives, stat() tells `seconds`, cut to what a time_t holds, as the
/// last change of the status of the file `path`. The kernel alone sets that
/// time, by its clock. For a program of its own: it replaces stat().
class ChangeTime
{
public:
    ChangeTime(const std::string& path, std::int64_t seconds);
    ~ChangeTime();
    ChangeTime(const ChangeTime&) = delete;
    ChangeTime& operator=(const ChangeTime&) = delete;
};

} // namespace support
