#pragma once

#include <functional>
#include <string>

namespace ostrelApi
{
class CallError;
} // namespace ostrelApi

namespace support
{

/// What `work` throws: the type of the exception, a colon and its text, as in
/// "std::runtime_error: text". Returns "nothing" when `work` throws nothing,
/// and "no standard exception" when it throws another type.
std::string thrownBy(const std::function<void()>& work);

/// The CallError that `work` throws. Throws std::logic_error when `work` throws
/// nothing.
ostrelApi::CallError callErrorOf(const std::function<void()>& work);

/// What thrownBy() returns for a CallError with this return code.
std::string apiError(int returnCode);

} // namespace support
