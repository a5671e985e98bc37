#pragma once

#include "engine/Json.h"
#include "engine/View.h"
#include "failure/Failure.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace ostrelctl
{

/// The answer of a command. A failure beside the answer says which part was not
/// done. Included by sources, for it holds JSON.
struct Outcome {
    Json json;
    ExitStatus status = ExitStatus::Done;
    std::optional<Failure> failure = {};
    /// Where it is shown in another way than the row says.
    std::optional<View> view = {};
};

} // namespace ostrelctl
