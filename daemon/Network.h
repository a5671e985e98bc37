#pragma once

#include <ostrel/ServiceConfiguration.h>

#include <string>
#include <vector>

namespace ostreld
{

/// The names by which the device is reached, as a service's configuration wants
/// them in its certificate: "IP:" or "DNS:" and the address or the name, sorted.
std::vector<std::string> alternativeNames(const ostrel::ServiceConfiguration& service);

} // namespace ostreld
