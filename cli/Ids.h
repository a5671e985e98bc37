#pragma once

#include <string>
#include <vector>

namespace ostrelctl
{

/// The id that `given` names: itself, or the one of `all` that begins with it.
/// Throws Failure when there is none, and when there are several, with these.
std::string idNamed(const std::string& given, const std::vector<std::string>& all);

/// The same of a service's own certificates, of which `all` are in use: nothing
/// stands for the one. Throws OstrelApiException when there is none in use.
std::string ownIdNamed(const std::string& given, const std::vector<std::string>& all);

} // namespace ostrelctl
