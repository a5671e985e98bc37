#include <ostrel/Commands.h>

#include <ostrl/splitstr.h>

#include "tools/Trace.h"

#include <limits>
#include <stdexcept>

namespace ostrel
{

namespace
{

constexpr std::size_t leadingFields = 4;

constexpr const char* targetWords[] = {"server", "ca", "client", "config"};

constexpr unsigned int only(TypeTarget target)
{
    return 1U << target;
}

constexpr unsigned int server = only(TargetServer);
constexpr unsigned int external = only(TargetCA) | only(TargetClient);
constexpr unsigned int config = only(TargetConfig);
constexpr unsigned int any = server | external | config;
constexpr std::size_t noLimit = std::numeric_limits<std::size_t>::max();

/// Targets that a keyword accepts, and the number of arguments that it takes with them.
struct Form {
    unsigned int targets = 0;
    std::size_t fewest = 0;
    std::size_t most = 0;
};

/// One keyword. `command` is its value and its index in the table.
struct Keyword {
    CommandType command;
    const char* word;
    Form forms[3];
};

constexpr Keyword keywords[] = {
    {CommandReload, "reload", {{config, 0, 0}}},
    {CommandHelp, "help", {{any, 0, 0}}},
    {CommandGetCsr, "getcsr", {{server, 0, 0}}},
    {CommandCreateCsr, "createcsr", {{server, 0, noLimit}}},
    {CommandCreateCrt, "createcrt", {{server, 3, 3}}},
    {CommandApplyCrt, "applycrt", {{server, 1, 1}}},
    {CommandRevoke, "revoke", {{server, 0, 0}, {external, 0, noLimit}}},
    {CommandList, "list", {{external, 0, 0}}},
    {CommandAdd, "add", {{external, 1, 1}}},
    // Intended: with two or more arguments "info" takes any target.
    {CommandInfo, "info", {{server, 0, 0}, {external, 1, 1}, {any, 2, noLimit}}},
    {CommandDetails, "details", {{server, 0, 0}, {external, 1, 1}}},
    {CommandPath, "path", {{server, 0, 0}, {external, 1, 1}}},
    {CommandGetKey, "getkey", {{server, 0, 0}}},
    {CommandGetCert, "getcert", {{server, 0, 0}, {external, 1, 1}}},
    {CommandNone, "", {}},
    {CommandGetOverwrittenData, "getOverwrittenData", {{server, 0, 0}, {external, 1, 1}}},
    {CommandSetOverwrittenData, "setOverwrittenData", {{server, 2, 2}, {external, 3, 3}}},
    {CommandListByCN, "listByCN", {{external, 1, 1}}},
    {CommandStatus, "status", {{config, 0, 0}}},
    {CommandGetCsrInfo, "getcsrinfo", {{server, 0, 0}}},
    {CommandGetCertInfo, "getcertinfo", {{server | external, 0, noLimit}}},
    {CommandGetCsrTimestamp, "getcsrtimestamp", {{server, 0, 0}}},
};

/// The entry of an array at `number`, or null: callers may set a target or a command to
/// any number.
template <class Entry, std::size_t N>
const Entry* entryAt(const Entry (&entries)[N], std::int32_t number)
{
    const bool isInside = number >= 0 && static_cast<std::size_t>(number) < N;
    return isInside ? &entries[number] : nullptr;
}

bool accepts(const Keyword& keyword, TypeTarget target, std::size_t count)
{
    for (const Form& form : keyword.forms) {
        if ((form.targets & only(target)) != 0 && count >= form.fewest && count <= form.most) {
            return true;
        }
    }
    return false;
}

CommandType commandOf(const std::string& word, TypeTarget target, std::size_t count)
{
    for (const Keyword& keyword : keywords) {
        if (word == keyword.word && accepts(keyword, target, count)) {
            return keyword.command;
        }
    }
    throw std::runtime_error("Bad format for command. Incorrect arguments received for: " + word);
}

} // namespace

Commands::Commands(const std::string& message)
{
    const std::vector<std::string> fields = splitstr(message, '\t');
    if (fields.size() < leadingFields) {
        throw std::runtime_error("Bad format for command.");
    }
    user = fields[0];
    pid = fields[1];
    for (std::size_t i = leadingFields; i < fields.size(); ++i) {
        trace("number: ", std::to_string(i), " value:", fields[i]);
        arguments.push_back(fields[i]);
    }
    target = identifyTarget(fields[2]);
    if (target == TargetNone) {
        // Intended: the text lacks "Bad " at its start and the received word at its end.
        throw std::runtime_error("format for command. Invalid target received: ");
    }
    command = commandOf(fields[3], target, arguments.size());
}

TypeTarget Commands::identifyTarget(const std::string& word)
{
    std::int32_t number = 0;
    for (const char* targetWord : targetWords) {
        if (word == targetWord) {
            break;
        }
        ++number;
    }
    return static_cast<TypeTarget>(number);
}

std::string Commands::toMessage() const
{
    const auto* targetWord = entryAt(targetWords, target);
    const auto* keyword = entryAt(keywords, command);
    std::string message = user + '\t' + pid + '\t';
    message += targetWord != nullptr ? *targetWord : "";
    message += '\t';
    message += keyword != nullptr ? keyword->word : "";
    for (const std::string& argument : arguments) {
        message += '\t' + argument;
    }
    trace("Commands::toMessage() :", message);
    return message;
}

} // namespace ostrel
