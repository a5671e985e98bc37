#pragma once

// What there is on this device for an argument of the command line.

#include "Command.h"

#include <string>
#include <vector>

namespace ostrelctl
{

/// A word that could stand on the command line, and what it is.
struct Candidate {
    std::string word;
    std::string help;
};
using Candidates = std::vector<Candidate>;

/// Those for an argument of this kind, after the arguments that stand in front
/// of it; `store` is the command's. Throws what the library throws.
Candidates candidatesFor(Kind kind, const std::vector<std::string>& before, const Store* store);

} // namespace ostrelctl
