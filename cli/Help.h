#pragma once

#include <string>

namespace ostrelctl
{

struct Command;

/// One line on a group, a command, or, for an empty path, the program.
std::string summaryOf(const std::string& path);

/// "ostrelctl ca list [OPTION...] SERVICE".
std::string usageOf(const Command& command);

/// What a command takes, or, for the words of a group, what commands there are;
/// an empty path stands for all.
std::string helpOn(const std::string& path);

} // namespace ostrelctl
