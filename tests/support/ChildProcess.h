#pragma once

#include <functional>
#include <string>

namespace support
{

/// Runs `work` in a child process and returns the text that `work` returns.
/// Tests use it to try once for each row what a process does only once. If the
/// child ends in another way, the text says how, in brackets.
std::string inChild(const std::function<std::string()>& work);

} // namespace support
