#pragma once

// The rows of the table, for tests that look at each one.

#include "commands/Table.h"
#include "engine/CommandLine.h"

#include <functional>
#include <vector>

namespace cli_case
{

inline std::vector<std::reference_wrapper<const ostrelctl::Command>> allCommands()
{
    std::vector<std::reference_wrapper<const ostrelctl::Command>> all;
    for (const ostrelctl::Family& family : ostrelctl::commandTable()) {
        for (const ostrelctl::Command& command : family.commands) {
            all.emplace_back(command);
        }
    }
    return all;
}

} // namespace cli_case
