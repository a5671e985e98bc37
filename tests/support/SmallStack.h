#pragma once

#include <cstddef>
#include <functional>

namespace support
{

/// Runs `work` on a thread with a stack of 128 KiB, as the device's programs
/// have them, waits for it, and returns how many bytes of the stack it used, the
/// thread's own data with them. What needs more ends the process here.
std::size_t onSmallStack(const std::function<void()>& work);

} // namespace support
