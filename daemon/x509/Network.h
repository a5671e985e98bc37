#pragma once

#include <ostrel/ServiceConfiguration.h>

#include <string>
#include <vector>

namespace ostreld
{

/// The alternative names of the device that a service's configuration requests, sorted: "IP:"
/// and an address, or "DNS:" and a name. While the resolver does not answer, the name comes
/// from `former`, lines of such names, or is the plain name. Throws std::runtime_error if the
/// addresses cannot be read.
std::vector<std::string> alternativeNames(const ostrel::ServiceConfiguration& service,
                                          const std::string& former = {});

/// Writes such names as lines.
std::string networkText(const std::vector<std::string>& names);

} // namespace ostreld
