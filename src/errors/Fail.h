#pragma once

// How a call of the public API fails. Every OstrelApiException of the library is
// a CallError, and fail() is the one place that throws it.

#include <string>

namespace ostrelApi
{

/// Throws a CallError. Line ends and other control characters of `reason`, which
/// may be the daemon's words, become blanks.
[[noreturn]] void fail(int returnCode, const std::string& reason, int daemonReturnCode = 0);

/// The reason "STEP PATH: TEXT", where TEXT is the system's for the errno value
/// `error`.
[[nodiscard]] std::string reasonOf(const std::string& step, const std::string& path, int error);

/// The reason why `path` could not be given to the group: chown() failed with
/// the errno value `error`, or there is no such group.
[[nodiscard]] std::string groupReasonOf(const std::string& path, const std::string& group,
                                        int error);

/// fail() with the reason of reasonOf().
[[noreturn]] void fail(int returnCode, const std::string& step, const std::string& path, int error);

/// Throws ActionFailed (1) for the exception in flight, and keeps its reason and
/// the daemon's return code. Call it only while an exception is handled.
[[noreturn]] void failInstead();

} // namespace ostrelApi
