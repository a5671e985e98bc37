#pragma once

// How a call of the public API fails. Every OstrelApiException of the library is a
// CallError, and only fail() throws it, so every reason is one line of limited length.
// Any thread may call these functions.

#include <string>
#include <string_view>

namespace ostrelApi
{

/// Throws a CallError. Control characters in `reason` become blanks, and a long reason
/// is cut, because it may be text that the daemon sent.
[[noreturn]] void fail(int returnCode, std::string_view reason, int daemonReturnCode = 0);

/// The reason "STEP PATH: TEXT", where TEXT is the system's text of the errno value
/// `error`.
[[nodiscard]] std::string reasonOf(std::string_view step, const std::string& path, int error);

/// The reason why `path` could not be given to the group: the group does not exist, or
/// chown() failed with the errno value `error`.
[[nodiscard]] std::string groupReasonOf(const std::string& path, const std::string& group,
                                        int error);

/// Throws a CallError with the reason of reasonOf().
[[noreturn]] void fail(int returnCode, std::string_view step, const std::string& path, int error);

/// Throws ActionFailed (1) in the place of the exception in flight, with the same reason
/// and the same return code of the daemon. Call it only in a handler.
[[noreturn]] void failInstead();

} // namespace ostrelApi
