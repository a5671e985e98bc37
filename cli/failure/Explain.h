#pragma once

#include "failure/Failure.h"

namespace ostrelctl
{

/// The exception that is being handled, in words: every exception of the library
/// is turned into a failure here. `service` is empty for a command without one;
/// `waited` is the seconds that it waited for the lock.
Failure explained(const std::string& service, int waited);

} // namespace ostrelctl
