#pragma once

// How a failure is printed.

#include "engine/Json.h"
#include "failure/Failure.h"

#include <string>

namespace ostrelctl
{

struct Invocation;

/// The line for people: what was attempted, on which objects, why it failed,
/// and what to do next.
std::string lineOf(const Failure& failure, const Invocation& invocation);

/// The same for programs.
Json jsonOf(const Failure& failure, const Invocation& invocation);

/// The exception that is being handled, as the failure of the command. The end
/// of the time, or a signal, is its reason before all others.
Failure failureInFlight(const Invocation& invocation);

} // namespace ostrelctl
