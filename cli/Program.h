#pragma once

#include <string>
#include <vector>

namespace ostrelctl
{

/// The whole program, but for the words' way into it: understands the line,
/// runs the command, prints, and returns the exit status.
int run(const std::vector<std::string>& line);

} // namespace ostrelctl
