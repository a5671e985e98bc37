#pragma once

#include "Context.h"

namespace ostrelctl
{

/// What is in flight, as the failure of the command: every exception of the
/// library is turned into words here. Call it while an exception is being
/// handled.
Failure explained(const Context& context);

} // namespace ostrelctl
