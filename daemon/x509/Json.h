#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ostreld
{

/// Returns `text` as a JSON string. Bytes that are not UTF-8 become U+FFFD.
std::string jsonString(std::string_view text);

/// Returns a JSON list, indented for an object whose members are indented by two blanks.
std::string jsonList(const std::vector<std::string>& texts);

} // namespace ostreld
