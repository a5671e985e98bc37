#pragma once

// The steps that operations of several families share. Each one does its work
// or fails with a return code.

#include <ostrelApi/ReturnCode.h>

#include "tools/InFlight.h"

#include <string>

namespace ostrelApi
{

/// Fails with NoSuchTarget (7) unless the service has the store `name`: the
/// first step of every operation on one.
void requireStore(bool hasStore, const char* name);

/// Fails with `otherwise` unless the file exists.
void requireFile(const std::string& path, ReturnCode otherwise);

/// The lines of a store's file, each ended by a line feed. Intended: a line feed
/// at the end of the file is followed by one more, empty line. Fails with
/// `whenNotOpen` where the file cannot be opened.
[[nodiscard]] std::string linesOf(const std::string& path, ReturnCode whenNotOpen);

/// Ends an import that failed: traces the exception in flight and throws
/// ActionFailed (1), whatever the daemon answered. An interruption by a signal
/// stays one. Call it only while an exception is handled.
[[noreturn]] void failImport(const ostrel::TierTexts& texts);

} // namespace ostrelApi
