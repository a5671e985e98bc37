#pragma once

#include <nlohmann/json.hpp>

namespace ostrelctl
{

/// Members in the order in which they are put in.
using Json = nlohmann::ordered_json;

} // namespace ostrelctl
