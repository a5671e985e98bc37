#pragma once

#include <string>

namespace ostrelctl
{

/// Write text to the standard streams; false when it cannot be written, or the
/// time has ended meanwhile.
bool writeOutput(const std::string& text);
bool writeErrors(const std::string& text);

} // namespace ostrelctl
