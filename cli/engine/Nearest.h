#pragma once

#include <string>
#include <vector>

namespace ostrelctl
{

/// The word that was probably meant by a mistyped one: the one with the fewest
/// letters to change, insert or leave out, and not more than a third of them.
/// Empty where no word is near.
std::string nearestOf(const std::string& mistyped, const std::vector<std::string>& words);

} // namespace ostrelctl
