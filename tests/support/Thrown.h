#pragma once

#include <functional>
#include <string>

namespace ostrelApi
{
class CallError;
} // namespace ostrelApi

namespace support
{

/// What `work` throws: the exception's own type, a colon and its text, as in
/// "std::runtime_error: text"; "nothing" when it throws nothing and "no
/// standard exception" when that is what it throws.
std::string thrownBy(const std::function<void()>& work);

/// The CallError that `work` throws. Throws std::logic_error when it throws none.
ostrelApi::CallError callErrorOf(const std::function<void()>& work);

/// The same words for the CallError with this return code.
std::string apiError(int returnCode);

} // namespace support
