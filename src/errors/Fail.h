#pragma once

// How a call of the public API fails. Every OstrelApiException of the library is a
// CallError, and only fail() throws it, so every reason is one line of limited length.
// Any thread may call these functions.

#include <string>
#include <string_view>

namespace ostrelApi
{

/// Why a step failed: one line for people, and the errno value of the system call that
/// failed, or 0.
struct Reason {
    std::string text;
    int systemError = 0;
};

/// Throws a CallError. Control characters in the reason become blanks, and a long reason
/// is cut, because it may be text that the daemon sent.
[[noreturn]] void fail(int returnCode, const Reason& reason, int daemonReturnCode = 0);

/// The reason "STEP PATH: TEXT", where TEXT is the system's text of the errno value
/// `error`.
[[nodiscard]] Reason reasonOf(std::string_view step, const std::string& path, int error);

/// The reason why `path` could not be given to the group: the group does not exist, or
/// chown() failed with the errno value `error`.
[[nodiscard]] Reason groupReasonOf(const std::string& path, const std::string& group, int error);

/// Throws a CallError without a system call that failed.
[[noreturn]] void fail(int returnCode, std::string_view text, int daemonReturnCode = 0);

/// Throws a CallError with the reason of reasonOf().
[[noreturn]] void fail(int returnCode, std::string_view step, const std::string& path, int error);

/// Throws ActionFailed (1) in the place of the exception in flight, with the same reason
/// and the same return code of the daemon. Call it only in a handler.
[[noreturn]] void failInstead();

} // namespace ostrelApi
