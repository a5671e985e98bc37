#pragma once

#include <string>

namespace ostrelctl
{

/// The manual page ostrelctl(1), from the table of commands. docs/man/ostrelctl.1
/// is this text, which a test holds it to:
///
///     build/default/cli/ostrelctl_manual >docs/man/ostrelctl.1
std::string manual();

} // namespace ostrelctl
