#pragma once

#include "tools/InFlight.h"

namespace ostrelApi
{

/// Traces what is in flight and turns it into what an import reports:
/// ActionFailed, whatever the daemon said; only a call that a signal
/// interrupted stays what it was. Call it while an exception is being handled.
[[noreturn]] void failImport(const ostrel::TierTexts& texts);

} // namespace ostrelApi
