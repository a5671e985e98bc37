#pragma once

// What a command that fails has to tell: what was attempted is added by the one
// who prints it.

#include "ExitStatus.h"
#include "Json.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace ostrelctl
{

struct Invocation;

/// Why, and what to do next. A value, thrown as it is.
class Failure : public std::runtime_error
{
public:
    Failure(ExitStatus exitStatus, const std::string& why, std::string whatNext = {})
        : std::runtime_error(why), status(exitStatus), next(std::move(whatNext))
    {
    }

    ExitStatus status;
    std::string next;
    /// The daemon's return code; 0 where it gave none.
    int returnCode = 0;
    /// What a shortened id could stand for.
    std::vector<std::string> candidates = {};
};

/// The line for people: what was attempted, on what, why, what to do next.
std::string lineOf(const Failure& failure, const Invocation& invocation);

/// The same for programs.
Json jsonOf(const Failure& failure, const Invocation& invocation);

} // namespace ostrelctl
