#pragma once

#include <string>
#include <vector>

namespace ostrelctl
{

/// The id that `given` names: itself, or the one of `all` that begins with it.
/// Throws Failure where none does, or several do.
std::string idNamed(const std::string& given, const std::vector<std::string>& all);

/// The same for a service's own certificates, of which `all` are active; an empty
/// `given` names the active one. Throws CallError with
/// `NoServerCertificate` where no certificate is active.
std::string ownIdNamed(const std::string& given, const std::vector<std::string>& all);

} // namespace ostrelctl
