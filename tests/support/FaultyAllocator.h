#pragma once

#include <cstddef>

namespace support
{

/// Throws what a failed allocation throws.
using Failure = void (*)();

/// Makes one allocation of this thread fail, after `passing` allocations that
/// succeed.
void armAllocationFault(std::size_t passing, Failure failure);

/// Removes the fault; returns whether an allocation reached it.
bool disarmAllocationFault();

} // namespace support
