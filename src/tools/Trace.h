#pragma once

// The debug trace. The library writes diagnostic lines only through trace(). Any thread
// may call it, and lines of several threads do not mix.

#include <ostrel/Debug.h>

#include <initializer_list>
#include <string>
#include <string_view>

namespace ostrel
{

/// Writes `line` and a line feed to std::cerr and flushes it.
void writeTraceLine(const std::string& line);

/// Writes the parts as one line. Throws nothing: a line that cannot be written is lost,
/// because a trace must not change what it reports.
void traceParts(std::initializer_list<std::string_view> parts) noexcept;

/// Writes the parts as one line while `gDebug` is set. While it is clear, a trace costs one
/// load.
template <class... Parts>
void trace(const Parts&... parts) noexcept
{
    if (gDebug) {
        traceParts({std::string_view(parts)...});
    }
}

} // namespace ostrel
