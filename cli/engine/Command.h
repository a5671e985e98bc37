#pragma once

// A command of the program as a row of data. Parsing, help, completion, the
// manual page and the tests read the same rows; a family of rows and their
// functions share a file in cli/commands.

#include "engine/View.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace ostrelctl
{

struct Invocation;
struct Outcome;

using Words = std::vector<std::string>;

/// A word that can stand on the command line, and what it is.
struct Candidate {
    std::string word;
    std::string help;
};
using Candidates = std::vector<Candidate>;

/// What an argument stands for. A failure names what the command line says of
/// objects and files; a shell completes files by itself.
enum class Kind { Object, File, Text };

enum class Arity { One, Optional, Any, AtLeastOne };

struct Argument {
    const char* name;
    Kind kind;
    Arity arity;
    const char* help;
    /// What completion offers, after the arguments that stand in front; empty
    /// where it offers nothing.
    std::function<Candidates(const Words& before)> candidates = {};
};

inline bool isMany(const Argument& argument)
{
    return argument.arity == Arity::Any || argument.arity == Arity::AtLeastOne;
}

struct Option {
    const char* name;
    /// What its value is called; null for a flag.
    const char* value;
    const char* help;
    /// The value where the command line has none.
    const char* otherwise = "";
    /// The values that are allowed, with blanks between; empty for any, "number"
    /// for whole numbers from 0 on.
    const char* values = "";
};

/// What a command needs of the daemon, and so what it waits for.
enum class Daemon {
    /// Nothing: it reads the daemon's files.
    NotUsed,
    /// The reply to a request.
    Asked,
    /// A reader of its notifications; there is no reply.
    Notified,
};

struct Command {
    /// Its words, with single blanks between.
    std::string path;
    std::vector<Argument> arguments;
    std::vector<Option> options;
    const char* help;
    /// The library's operations that it gives access to, with single blanks between.
    std::string api;
    Daemon daemon;
    std::function<Outcome(const Invocation&)> run;
    View view;
    /// Whether the daemon creates a key for it, which can take minutes; empty where it
    /// never does. Without --timeout it then has no time limit.
    std::function<bool(const Invocation&)> createsKey = {};
};

/// Words that several commands begin with.
struct Group {
    const char* path;
    const char* help;
};

/// The commands about one thing: a section of the help and of the manual page.
struct Family {
    const char* title;
    std::vector<Group> groups;
    std::vector<Command> commands;
};

using CommandTable = std::vector<Family>;

/// The command of this path; null where it does not exist.
const Command* commandCalled(const CommandTable& table, const std::string& path);

/// The options that every command takes.
const std::vector<Option>& globalOptions();

/// Those of a command and of every command; only of the latter for null.
std::vector<const Option*> optionsOf(const Command* command);

/// The one of this name that takes a value, or null.
const Option* optionWithValue(const Command* command, const std::string& name);

/// A command line that was understood.
struct Invocation {
    /// Null while the words name no command.
    const Command* command = nullptr;
    /// The objects and files that it names, for messages.
    std::string subject;
    /// By the name of the argument or of the option; a flag that is given has
    /// one text.
    std::map<std::string, Words> values;

    bool has(const std::string& name) const { return values.count(name) != 0; }
    /// The texts of an argument; empty where it is not given.
    Words all(const std::string& name) const;
    /// The text of an argument, or an empty one.
    std::string one(const std::string& name) const;
    /// The number that an option holds.
    int number(const std::string& name) const;
    /// The service that it names, or an empty text.
    std::string service() const { return one("SERVICE"); }
    /// Whether the daemon creates a key for it.
    bool createsKey() const;
    /// The path of the command, or an empty text.
    std::string path() const { return command != nullptr ? command->path : ""; }
};

} // namespace ostrelctl
