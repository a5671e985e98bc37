#pragma once

#include "x509/Identity.h"

#include <functional>
#include <string>

namespace ostreld
{

/// Packs the result of `make`, or its Refusal, into a text that a child process sends. The
/// caller wipes it.
std::string packed(const std::function<Identity()>& make);

/// Unpacks such a text; throws the Refusal in it.
Identity unpacked(const std::string& text);

} // namespace ostreld
