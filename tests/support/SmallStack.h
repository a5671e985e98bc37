#pragma once

#include <cstddef>
#include <functional>

namespace support
{

/// Runs `work` on a thread with a stack of 128 KiB, which is the size on the
/// device, and waits for it. Returns how many bytes of the stack were used, the
/// thread's own data included. `work` that needs more ends the process.
std::size_t onSmallStack(const std::function<void()>& work);

} // namespace support
