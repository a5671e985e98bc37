#pragma once

#include <sys/types.h>

namespace support
{

/// As few as a daemon that runs has in any case; poll() takes no more entries.
constexpr unsigned int noMoreDescriptors = 8;
constexpr unsigned int enoughDescriptors = 200;

/// Lets the process `pid` open descriptors of numbers below `end` alone, and
/// keep those that it has open.
void limitDescriptors(pid_t pid, unsigned int end);

} // namespace support
