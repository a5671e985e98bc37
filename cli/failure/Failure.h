#pragma once

#include "failure/ExitStatus.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace ostrelctl
{

/// Why a command failed, and what to do next. Who prints it adds what was
/// attempted. A value, thrown as it is.
class Failure : public std::runtime_error
{
public:
    Failure(ExitStatus exitStatus, const std::string& why, std::string whatNext = {})
        : std::runtime_error(why), status(exitStatus), next(std::move(whatNext))
    {
    }

    ExitStatus status;
    std::string next;
    /// The daemon's return code; 0 where it did not answer.
    int returnCode = 0;
    /// The ids that begin with a shortened one.
    std::vector<std::string> candidates = {};
};

} // namespace ostrelctl
