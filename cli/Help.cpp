#include "Help.h"

#include "Command.h"
#include "CommandLine.h"

#include <fmt/format.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

/// Two columns, aligned.
using Lines = std::vector<std::pair<std::string, std::string>>;

std::string section(const std::string& title, const Lines& lines)
{
    if (lines.empty()) {
        return {};
    }
    std::size_t width = 0;
    for (const auto& line : lines) {
        width = std::max(width, line.first.size());
    }
    std::string text = '\n' + title + ":\n";
    for (const auto& [left, right] : lines) {
        text += right.empty() ? fmt::format("  {}\n", left)
                              : fmt::format("  {:<{}}  {}\n", left, width, right);
    }
    return text;
}

std::string shapeOf(const Argument& argument)
{
    switch (argument.arity) {
    case Arity::One:
        return argument.name;
    case Arity::Optional:
        return fmt::format("[{}]", argument.name);
    case Arity::Any:
        return fmt::format("[{}...]", argument.name);
    default:
        return fmt::format("{}...", argument.name);
    }
}

Lines argumentLines(const Command& command)
{
    Lines lines;
    for (const Argument& argument : command.arguments) {
        lines.emplace_back(argument.name, argument.help);
    }
    return lines;
}

Lines optionLines(const std::vector<Option>& options)
{
    Lines lines;
    for (const Option& option : options) {
        const std::string value = option.value != nullptr ? std::string(" ") + option.value : "";
        const bool hasDefault = *option.otherwise != '\0';
        lines.emplace_back(option.name + value,
                           hasDefault ? fmt::format("{} ({})", option.help, option.otherwise)
                                      : option.help);
    }
    return lines;
}

Lines statusLines()
{
    Lines lines;
    for (const StatusRow& row : statusRows) {
        lines.emplace_back(std::to_string(static_cast<int>(row.status)), row.meaning);
    }
    return lines;
}

bool isBelow(const std::string& path, const std::string& group)
{
    return group.empty() || path.rfind(group + ' ', 0) == 0;
}

Lines commandLines(const std::string& group)
{
    Lines lines;
    for (const Command& command : commands()) {
        if (isBelow(command.path, group)) {
            lines.emplace_back(command.path, command.help);
        }
    }
    return lines;
}

std::string helpOnGroup(const std::string& path)
{
    return fmt::format("Usage: ostrelctl {}{}COMMAND [OPTION...] ARGUMENT...\n\n{}.\n", path,
                       path.empty() ? "" : " ", summaryOf(path)) +
           section("Commands", commandLines(path)) +
           section("Options of every command", optionLines(globalOptions())) +
           section("Exit status", statusLines());
}

std::string helpOnCommand(const Command& command)
{
    return fmt::format("Usage: {}\n\n{}.\n", usageOf(command), command.help) +
           section("Arguments", argumentLines(command)) +
           section("Options", optionLines(command.options)) +
           section(summaryOf(command.path), commandLines(command.path)) +
           section("Options of every command", optionLines(globalOptions())) +
           section("Exit status", statusLines()) + section("In the library", {{command.api, ""}});
}

} // namespace

std::string summaryOf(const std::string& path)
{
    for (const Group& group : groups()) {
        if (path == group.path) {
            return group.help;
        }
    }
    const Command* const command = commandCalled(path);
    return command != nullptr
               ? command->help
               : "The certificates of this device's services, by the library libostrl";
}

std::string usageOf(const Command& command)
{
    std::string text = "ostrelctl " + command.path + " [OPTION...]";
    for (const Argument& argument : command.arguments) {
        text += ' ' + shapeOf(argument);
    }
    return text;
}

std::string helpOn(const std::string& path)
{
    const Command* const command = commandCalled(path);
    return command != nullptr ? helpOnCommand(*command) : helpOnGroup(path);
}

} // namespace ostrelctl
