#pragma once

#include <fmt/format.h>

#include <atomic>
#include <exception>
#include <string>

namespace ostreld
{

/// Whether logStep() writes; set by --debug.
extern std::atomic<bool> gVerbose;

/// Whether `c` does something on a terminal instead of being shown.
bool isControlCharacter(char c);

/// Writes one line to the standard error stream. Any thread may call; lines of
/// several threads do not mix. Key material never goes through here.
void writeLogLine(const std::string& line);

/// Logs one event.
template <class... Arguments>
void logEvent(fmt::format_string<Arguments...> format, Arguments&&... arguments)
{
    writeLogLine(fmt::format(format, std::forward<Arguments>(arguments)...));
}

/// Logs one step of the work, for those who look for a fault.
template <class... Arguments>
void logStep(fmt::format_string<Arguments...> format, Arguments&&... arguments)
{
    if (gVerbose) {
        writeLogLine(fmt::format(format, std::forward<Arguments>(arguments)...));
    }
}

/// Does what comes after a change that stands already: a failure is logged,
/// behind `what`, and undoes nothing.
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
