#pragma once

// The steps that operations of several families share. Each step succeeds or throws
// CallError.

#include <ostrelApi/ReturnCode.h>

#include "tools/InFlight.h"

#include <string>

namespace ostrelApi
{

/// The store check, the first step of every operation on a store. Throws NoSuchTarget (7)
/// unless `hasStore`; `name` goes into the reason.
void requireStore(bool hasStore, const char* name);

/// Throws `otherwise` unless the file exists.
void requireFile(const std::string& path, ReturnCode otherwise);

/// Returns the lines of a file, each followed by a line feed. Intended: a line feed at
/// the end of the file is followed by one more line feed. Throws `whenNotOpen` when the
/// file cannot be opened; a file that cannot be read to its end gives what was read.
[[nodiscard]] std::string linesOf(const std::string& path, ReturnCode whenNotOpen);

/// Ends an import that failed: traces the exception in flight and throws ActionFailed (1)
/// in its place, with any return code of the daemon. Does not replace Interrupted. Call it
/// only in a handler.
[[noreturn]] void failImport(const ostrel::TierTexts& texts);

} // namespace ostrelApi
