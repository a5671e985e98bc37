#pragma once

#include <functional>
#include <string>

namespace support
{

/// Runs `work` in a child of this process and gives back the text that it
/// returns: what a process does only once is tested once for each row so. A
/// child that ends in another way gives a text that says how, in brackets.
std::string inChild(const std::function<std::string()>& work);

} // namespace support
