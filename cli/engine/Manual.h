#pragma once

#include "engine/Command.h"

namespace ostrelctl
{

/// The manual page ostrelctl(1). docs/man/ostrelctl.1 is this text, and a test
/// compares them:
///
///     build/default/cli/ostrelctl_manual >docs/man/ostrelctl.1
std::string manual(const CommandTable& table);

} // namespace ostrelctl
