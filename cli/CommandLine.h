#pragma once

#include "Command.h"

namespace ostrelctl
{

using Words = std::vector<std::string>;

/// The words of `line` (without the program's name) that say which command, as
/// far as any command begins so; what is left stays in `rest`.
std::string takePath(const Words& line, Words& rest);

/// The command of this path; none when there is none.
const Command* commandCalled(const std::string& path);

/// Fills the values by the command's row: `rest` is the line without the
/// command's words. Throws Failure when the line does not fit the row.
void takeValues(Invocation& invocation, const Words& rest);

} // namespace ostrelctl
