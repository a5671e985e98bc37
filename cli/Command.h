#pragma once

// The one table of commands: parsing, help, the manual, completion and the
// tests all read it.
//
// To add a command: its function in the file of its family (Work.h declares
// them), a row in Commands.cpp, its answer in docs/ostrelctl.schema.json.

#include "ExitStatus.h"
#include "Failure.h"
#include "Json.h"
#include "View.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ostrelctl
{

struct Context;
struct Store;

/// What a word of the command line names: completion offers these.
enum class Kind { Service, Id, OwnId, Certificate, Key, File, Target, Text };

enum class Arity { One, Optional, Any, AtLeastOne };

struct Argument {
    const char* name;
    Kind kind;
    Arity arity;
    const char* help;
};

/// A flag has no value name.
struct Option {
    const char* name;
    const char* value;
    const char* help;
    /// What it stands for when it is not given.
    const char* otherwise = "";
    /// The values that there are, with blanks between; empty for any. "number"
    /// stands for whole numbers from 0 on.
    const char* values = "";
};

/// What a command answers with. A failure besides the answer says what part
/// could not be done.
struct Outcome {
    Json json;
    ExitStatus status = ExitStatus::Done;
    std::optional<Failure> failure = {};
    /// Where it is shown in another way than the row says.
    std::optional<View> view = {};
};

struct Command {
    /// Its words, with single blanks between.
    std::string path;
    std::vector<Argument> arguments;
    std::vector<Option> options;
    const char* help;
    /// The library's operations that it gives access to, with single blanks between.
    std::string api;
    Outcome (*run)(Context& context);
    View view;
    /// The store that it is on; none for most.
    const Store* store = nullptr;
};

/// A word that commands begin with, and what they are about.
struct Group {
    const char* path;
    const char* help;
};

const std::vector<Command>& commands();
const std::vector<Group>& groups();

/// The options that every command takes.
const std::vector<Option>& globalOptions();

/// The command line, understood.
struct Invocation {
    /// None while the words name no command.
    const Command* command = nullptr;
    /// What it is about, for messages.
    std::string subject;
    /// By the name of the argument or of the option; a flag that is given has
    /// one empty text.
    std::map<std::string, std::vector<std::string>> values;

    bool has(const std::string& name) const { return values.count(name) != 0; }
    /// The texts of an argument; none when it is not given.
    std::vector<std::string> all(const std::string& name) const;
    /// The text of an argument, or an empty one.
    std::string one(const std::string& name) const;
    /// The number that an option holds.
    int number(const std::string& name) const;
};

} // namespace ostrelctl
