#pragma once

// The declaration only: the header of the definition is as expensive to compile
// as most of the program's sources, so no header includes it.

#include <nlohmann/json_fwd.hpp>

namespace ostrelctl
{

/// Members in the order in which they are put in.
using Json = nlohmann::ordered_json;

} // namespace ostrelctl
