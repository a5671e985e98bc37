#pragma once

#include <vector>

namespace support
{

/// Makes these system calls fail with `error` in the calling thread, until the
/// thread ends; the other threads are not affected. Returns false where the
/// kernel has no seccomp filters.
bool denySystemCalls(const std::vector<long>& numbers, int error);

} // namespace support
