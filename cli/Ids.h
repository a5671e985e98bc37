#pragma once

#include <string>
#include <vector>

namespace ostrelctl
{

/// The id that `given` names: itself, or the one of `all` that begins with it.
/// Throws Failure when there is none, and when there are several, with these.
std::string idNamed(const std::string& given, const std::vector<std::string>& all);

} // namespace ostrelctl
