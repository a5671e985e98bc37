#pragma once

#include <cstdint>
#include <string>

namespace support
{

/// While the object lives, stat() reports `seconds`, cut to the width of
/// time_t, as the time of the last status change of the file `path`: a program
/// cannot set that time itself. Link it only into a program of its own, because
/// it replaces stat().
class ChangeTime
{
public:
    ChangeTime(const std::string& path, std::int64_t seconds);
    ~ChangeTime();
    ChangeTime(const ChangeTime&) = delete;
    ChangeTime& operator=(const ChangeTime&) = delete;
};

} // namespace support
