#pragma once

#include <functional>

namespace support
{

/// Runs `work` on a thread with a stack of 128 KiB, as the device's programs
/// have them, and waits for it. What recurses by the length of its input ends
/// the process here.
void onSmallStack(const std::function<void()>& work);

} // namespace support
