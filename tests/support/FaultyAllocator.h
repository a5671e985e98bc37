#pragma once

#include <cstddef>

namespace support
{

/// What an allocation that fails throws.
using Failure = void (*)();

/// Lets `passing` more allocations of this thread pass and makes the one after
/// them fail.
void armAllocationFault(std::size_t passing, Failure failure);

/// Takes a fault that was not reached back; returns whether it was reached.
bool disarmAllocationFault();

} // namespace support
