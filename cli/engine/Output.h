#pragma once

#include <string>

namespace ostrelctl
{

/// Write text to the standard streams; false where that fails, or the time ends
/// first.
bool writeOutput(const std::string& text);
bool writeErrors(const std::string& text);

} // namespace ostrelctl
