#pragma once

#include <string>

namespace ostrelApi
{

/// Returns the payload of the daemon's reply, which is a return code, one blank and
/// the payload. A reply without a blank is both code and payload. Throws CallError:
/// with the daemon's return code and the payload as its reason when the code is not
/// 0, and with ActionFailed (1) when the reply does not start with a number.
std::string payloadOf(const std::string& reply);

} // namespace ostrelApi
