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
[[noreturn]] void failWithAStranger();

/// Runs `work` over and over, with its first allocation failing, then its
/// second alone, and so on until none fails, and gives back what each run threw
/// (as thrownBy() says it). The one means to reach the error paths of code
/// that cannot fail otherwise.
std::set<std::string> thrownWithoutMemory(const std::function<void()>& work, Failure failure);

} // namespace support
