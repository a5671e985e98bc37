#pragma once

#include "engine/Command.h"

namespace ostrelctl
{

/// The whole program on the words after its name: parses them, runs the command,
/// prints the answer, and returns the exit status.
int run(const CommandTable& table, const Words& line);

} // namespace ostrelctl
