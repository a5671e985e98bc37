#pragma once

#include "support/FaultyAllocator.h"

#include <functional>
#include <set>
#include <string>

namespace support
{

/// The failures to choose from.
[[noreturn]] void failAsOutOfMemory();
[[noreturn]] void failWithRuntimeError();
[[noreturn]] void failWithNonStandardException();

/// Runs `work` repeatedly: first its first allocation fails, then only its
/// second, and so on until a run reaches no failing allocation. Returns what
/// each run threw, in the words of thrownBy(). It reaches the error paths of
/// code that cannot fail in another way.
std::set<std::string> thrownWithoutMemory(const std::function<void()>& work, Failure failure);

} // namespace support
