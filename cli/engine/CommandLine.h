#pragma once

#include "engine/Command.h"
#include "failure/Failure.h"

#include <optional>

namespace ostrelctl
{

/// What a command line comes to: text to print at once (help or the version), a
/// failure, or a command to run.
struct ParsedLine {
    Invocation invocation;
    std::optional<std::string> text;
    std::optional<Failure> failure;
};

/// Parses the words after the program's name.
ParsedLine parse(const CommandTable& table, const Words& line);

/// The words in front of one that is being typed.
struct TypedWords {
    /// The command as far as it is typed; null before its last word.
    const Command* command = nullptr;
    /// The words that can follow, on the way to a command.
    Candidates next;
    Words arguments;
    /// The option whose value comes next.
    const Option* open = nullptr;
    /// After two dashes, nothing is an option.
    bool isOver = false;
};

TypedWords typedBy(const CommandTable& table, const Words& words);

} // namespace ostrelctl
