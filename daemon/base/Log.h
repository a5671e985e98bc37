#pragma once

#include <fmt/format.h>

#include <exception>
#include <string>

namespace ostreld
{

/// Whether logStep() writes; set by --debug.
extern bool gVerbose;

/// Whether a terminal acts on `c` instead of showing it.
bool isControlCharacter(char c);

/// Writes one line of at most 4096 bytes to the standard error stream, by one write(), so
/// that lines of several processes do not mix. Never pass a key to it. It does not allocate
/// memory or change errno, and ignores a failed write.
void writeLogLine(fmt::string_view format, fmt::format_args arguments) noexcept;

/// Logs one event.
template <class... Arguments>
void logEvent(fmt::format_string<Arguments...> format, const Arguments&... arguments) noexcept
{
    writeLogLine(format, fmt::make_format_args(arguments...));
}

/// Logs one step of the work, with --debug only.
template <class... Arguments>
void logStep(fmt::format_string<Arguments...> format, const Arguments&... arguments) noexcept
{
    if (gVerbose) {
        writeLogLine(format, fmt::make_format_args(arguments...));
    }
}

/// Does work that follows a change that stands. A failure is logged, after `what`, and does
/// not undo the change.
template <class Work>
void orLog(const std::string& what, Work work)
{
    try {
        work();
    } catch (const std::exception& caught) {
        logEvent("{}: {}", what, caught.what());
    }
}

} // namespace ostreld
