#pragma once

// The debug trace: the one place from which the library writes a diagnostic
// line. Any thread may call; lines of several threads do not mix.

#include <ostrel/Debug.h>

#include <string>

namespace ostrel
{

/// Writes `line` and an end of line to std::cerr, flushed.
void writeTraceLine(const std::string& line);

/// Traces the parts, joined, as one line while `gDebug` is set.
/// Nothing is built while it is clear, so a trace costs a hot path one load.
/// A line that cannot be built or written is lost: what is traced goes on.
template <class... Parts>
void trace(const Parts&... parts) noexcept
{
    if (!gDebug) {
        return;
    }
    try {
        std::string line;
        (line.append(parts), ...);
        writeTraceLine(line);
    } catch (...) {
    }
}

} // namespace ostrel
