#pragma once

// The debug trace. The library writes diagnostic lines only through trace(). Any thread
// may call it, and lines of several threads do not mix.

#include <ostrel/Debug.h>

#include <string>

namespace ostrel
{

/// Writes `line` and a line feed to std::cerr and flushes it.
void writeTraceLine(const std::string& line);

/// Writes the parts as one line while `gDebug` is set. While it is clear, a trace costs one
/// load. Throws nothing: a line that cannot be written is lost, because a trace must not
/// change what it reports.
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
