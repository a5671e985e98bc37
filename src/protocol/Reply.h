#pragma once

#include <string>

namespace ostrelApi
{

/// The payload of a reply of the daemon: return code, one blank, payload. A
/// reply without a blank is both. Throws OstrelApiException with the daemon's
/// return code when it is not 0, and with ActionFailed when the reply starts
/// with a blank or with anything but a number.
std::string payloadOf(const std::string& reply);

} // namespace ostrelApi
