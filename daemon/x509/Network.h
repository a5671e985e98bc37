#pragma once

#include <ostrel/ServiceConfiguration.h>

#include <string>
#include <vector>

namespace ostreld
{

/// The names by which the device is reached, as a service's configuration wants
/// them in its certificate: "IP:" or "DNS:" and the address or the name, sorted.
/// While the resolver does not answer, the device has the name that it has among
/// `former`, lines of such names, or else its plain one. Throws
/// std::runtime_error when the addresses are not known.
std::vector<std::string> alternativeNames(const ostrel::ServiceConfiguration& service,
                                          const std::string& former = {});

} // namespace ostreld
