#pragma once

#include <string>

namespace ostrelApi
{

/// Turns what kept a look-up from writing its temporary file `path` into
/// ActionFailed, and traces it; `certificate` is what the trace calls one.
/// The file is removed after a standard exception, and left after any other.
/// Call it while an exception is being handled.
[[noreturn]] void failLookUp(const std::string& path, const char* certificate);

} // namespace ostrelApi
