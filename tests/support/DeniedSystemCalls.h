#pragma once

#include <vector>

namespace support
{

/// Makes the kernel refuse these system calls, with `error`, to the calling
/// thread for the rest of its life; the other threads keep them. False where
/// the machine has no such filters.
bool denySystemCalls(const std::vector<long>& numbers, int error);

} // namespace support
