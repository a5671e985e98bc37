#pragma once

// The extensions that the daemon adds to a request configuration's own. Each function throws
// std::bad_alloc or Refusal.

#include "x509/OpenSsl.h"

#include <string>
#include <vector>

namespace ostreld
{

/// Replaces extensions by those of the profile "CA-CB_compliant".
void addCompliantExtensions(ExtensionsPointer& extensions, X509V3_CTX* context);

/// Adds alternative names, such as "IP:192.0.2.1" and "DNS:web.example".
void addNames(ExtensionsPointer& extensions, const std::vector<std::string>& texts);

} // namespace ostreld
