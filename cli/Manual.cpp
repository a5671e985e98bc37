#include "Manual.h"

#include "CommandLine.h"
#include "ExitStatus.h"

#include <ostrl/splitstr.h>

#include <fmt/format.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

const char* const head =
    R"(.\" Made by ostrelctl_manual from the table of commands, cli/Commands.cpp.
.Dd November 21, 2026
.Dt OSTRELCTL 1
.Os
.Sh NAME
.Nm ostrelctl
.Nd the certificates of this device's services
.Sh SYNOPSIS
.Nm
.Ar COMMAND
.Op Ar OPTION ...
.Op Ar ARGUMENT ...
.Nm
.Op Ar COMMAND
.Fl -help
.Sh DESCRIPTION
.Nm
is
.Xr libostrl 3
at the command line: whatever a program may ask of the library, a person or a
script may ask here.
Queries read the files of
.Xr ostreld 8
and wait for nobody; changes are asked of the daemon.
.Pp
A
.Ar FILE
is PEM and may hold several certificates; a
.Sq -
is the standard input.
An
.Ar ID
may be shortened to any start that no other certificate of the store has.
What follows two dashes is no option.
.Pp
Every command takes these options:
)";

const char* const environment = R"(.Sh ENVIRONMENT
.Bl -tag -width NO_COLOR
.It Ev NO_COLOR
Set to anything, there are no colours unless
.Fl -color Ns = Ns Cm always
asks for them.
.El
)";

const char* const tail = R"(.Pp
The numbers stay as they are.
With
.Fl -json
the same is told by
.Sq error
in the answer: its members
.Sq status
and
.Sq exitStatus .
.Sh EXAMPLES
What is on this device, and what ends within sixty days:
.Bd -literal -offset indent
ostrelctl services
ostrelctl expiry --within 60
.Ed
.Pp
Each certificate of a bundle, and one of them again by the start of its id:
.Bd -literal -offset indent
ostrelctl ca add web roots.pem
ostrelctl ca show web 96bc >root.pem
.Ed
.Pp
A new certificate for the service itself:
.Bd -literal -offset indent
ostrelctl server csr create web
ostrelctl server csr show web >web.csr
ostrelctl server apply web web.pem
.Ed
.Pp
In a script:
.Bd -literal -offset indent
ostrelctl check-renewal web --within 30 || [ $? -ne 10 ] || renew
ostrelctl ca list web --json | jq -r '.certificates[].id'
.Ed
.Sh SEE ALSO
.Xr libostrl 3 ,
.Xr ostrel-config 5 ,
.Xr ostreld 8
)";

const char* const listStart = ".Bl -tag -width Ds\n";
const char* const listEnd = ".El\n";

/// A line of text, with nothing in it that the formatter would read.
std::string sentence(const std::string& text)
{
    std::string line;
    for (const char c : text) {
        line += c == '\\' ? "\\e" : std::string(1, c);
    }
    const bool isRequest = !line.empty() && (line[0] == '.' || line[0] == '\'');
    return (isRequest ? "\\&" : "") + line + ".\n";
}

std::string shapeOf(const Argument& argument)
{
    switch (argument.arity) {
    case Arity::One:
        return fmt::format(" Ar {}", argument.name);
    case Arity::Optional:
        return fmt::format(" Op Ar {}", argument.name);
    case Arity::Any:
        return fmt::format(" Op Ar {} ...", argument.name);
    default:
        return fmt::format(" Ar {} ...", argument.name);
    }
}

std::string optionEntry(const Option& option)
{
    const std::string value = option.value != nullptr ? fmt::format(" Ar {}", option.value) : "";
    const std::string otherwise =
        *option.otherwise != '\0' ? fmt::format(" ({})", option.otherwise) : "";
    // One of the two dashes is the macro's.
    return fmt::format(".It Fl {}{}\n", option.name + 1, value) + sentence(option.help + otherwise);
}

std::string parametersOf(const Command& command)
{
    std::string entries;
    for (const Argument& argument : command.arguments) {
        entries += fmt::format(".It Ar {}\n", argument.name) + sentence(argument.help);
    }
    for (const Option& option : command.options) {
        entries += optionEntry(option);
    }
    return entries.empty() ? "" : listStart + entries + listEnd;
}

std::string libraryOf(const Command& command)
{
    std::string text = ".Pp\nIn the library:\n";
    for (const std::string& name : splitstr(command.api, ' ')) {
        text += fmt::format(".Fn {}\n", name);
    }
    return text;
}

std::string entryOf(const Command& command)
{
    std::string line = ".It Cm " + command.path;
    for (const Argument& argument : command.arguments) {
        line += shapeOf(argument);
    }
    return line + '\n' + sentence(command.help) + parametersOf(command) + libraryOf(command);
}

bool isGroup(const std::string& word)
{
    const auto& all = groups();
    return std::any_of(all.begin(), all.end(),
                       [&](const Group& group) { return word == group.path; });
}

/// The commands that begin with the word of a group; those of no group for an
/// empty one.
std::string entriesOf(const std::string& word)
{
    std::string entries;
    for (const Command& command : commands()) {
        const std::string first = command.path.substr(0, command.path.find(' '));
        if (isGroup(first) ? first == word : word.empty()) {
            entries += entryOf(command);
        }
    }
    return listStart + entries + listEnd;
}

std::string commandSections()
{
    std::string text = ".Sh COMMANDS\n.Ss The services\n" + entriesOf("");
    for (const Group& group : groups()) {
        const std::string word = group.path;
        if (word.find(' ') == std::string::npos) {
            text += fmt::format(".Ss {}\n", group.help) + entriesOf(word);
        }
    }
    return text;
}

std::string globalList()
{
    std::string entries;
    for (const Option& option : globalOptions()) {
        entries += optionEntry(option);
    }
    return listStart + entries + listEnd;
}

std::string statusSection()
{
    std::string text = std::string(".Sh EXIT STATUS\n") + listStart;
    for (const StatusRow& row : statusRows) {
        text += fmt::format(".It {} Pq {}\n", static_cast<int>(row.status), row.word) +
                sentence(row.meaning);
    }
    return text + listEnd;
}

} // namespace

std::string manual()
{
    return head + globalList() + commandSections() + environment + statusSection() + tail;
}

} // namespace ostrelctl
