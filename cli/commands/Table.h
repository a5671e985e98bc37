#pragma once

#include "engine/Command.h"

namespace ostrelctl
{

/// All commands, made on the first call.
const CommandTable& commandTable();

} // namespace ostrelctl
