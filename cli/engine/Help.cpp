#include "engine/Help.h"

#include "failure/ExitStatus.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace ostrelctl
{

namespace
{

constexpr std::size_t columnWidth = 25;

const char* const legend =
    "\n"
    "A * marks a command that sends the daemon a request and waits for the reply,\n"
    "for the time of --timeout at most. The others read files, or notify the daemon,\n"
    "and do not wait. `ostrelctl help COMMAND` prints what a command takes.\n";

const char* const keySentence =
    "\nThe creation of a key can take minutes and has no time limit by default.";

std::string commandLines(const Family& family, const std::string& group)
{
    std::string text;
    for (const Command& command : family.commands) {
        if (group.empty() || command.path.rfind(group + ' ', 0) == 0 || command.path == group) {
            const char* const mark = command.daemon == Daemon::Asked ? "*" : "";
            text += fmt::format("  {:<{}}{}\n", command.path + mark, columnWidth - 2, command.help);
        }
    }
    return text.empty() ? "" : fmt::format("\n{}:\n{}", family.title, text);
}

std::string shapeOf(const Argument& argument)
{
    const std::string shape = argument.name + std::string(isMany(argument) ? "..." : "");
    const bool isOptional = argument.arity == Arity::Optional || argument.arity == Arity::Any;
    return isOptional ? '[' + shape + ']' : shape;
}

std::string statusLines()
{
    std::string text = "\nExit status:\n";
    for (const StatusRow& row : statusRows) {
        text += fmt::format("  {:<2}  {}\n", static_cast<int>(row.status), row.meaning);
    }
    return text;
}

/// CLI11's layout with commands in front of options.
class Layout : public CLI::Formatter
{
public:
    explicit Layout(const CommandTable& table) : m_table(table)
    {
        column_width(columnWidth);
        label("Positionals", "Arguments");
    }

    std::string make_description(const CLI::App* app) const override
    {
        const Command* const command = commandCalled(m_table, pathOf(*app));
        return fmt::format("{}.\n{}\n", app->get_description(),
                           command != nullptr ? sentenceOf(*command) + '\n' : "");
    }

    std::string make_usage(const CLI::App* app, std::string name) const override
    {
        const Command* const command = commandCalled(m_table, pathOf(*app));
        if (command == nullptr) {
            return fmt::format("Usage: {} COMMAND [OPTION...] [ARGUMENT...]\n", name);
        }
        std::string text = fmt::format("Usage: {} [OPTION...]", name);
        for (const Argument& argument : command->arguments) {
            text += ' ' + shapeOf(argument);
        }
        return text + '\n';
    }

    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override
    {
        const CLI::App* root = app;
        while (root->get_parent() != nullptr) {
            root = root->get_parent();
        }
        return make_description(app) + make_usage(app, std::move(name)) + make_positionals(app) +
               (root != app ? make_groups(app, mode) : "") + commandsBelow(*app) +
               make_groups(root, mode) + make_footer(app);
    }

    std::string make_footer(const CLI::App* app) const override
    {
        const Command* const command = commandCalled(m_table, pathOf(*app));
        return statusLines() +
               (command != nullptr ? fmt::format("\nIn the library:\n  {}\n", command->api) : "");
    }

    std::string make_option_opts(const CLI::Option* option) const override
    {
        return option->get_positional() ? "" : CLI::Formatter::make_option_opts(option);
    }

private:
    std::string commandsBelow(const CLI::App& app) const
    {
        if (app.get_subcommands({}).empty()) {
            return {};
        }
        std::string text;
        for (const Family& family : m_table) {
            text += commandLines(family, pathOf(app));
        }
        return text + legend;
    }

    const CommandTable& m_table;
};

} // namespace

std::string pathOf(const CLI::App& app)
{
    if (app.get_parent() == nullptr) {
        return {};
    }
    const std::string parent = pathOf(*app.get_parent());
    return parent.empty() ? app.get_name() : parent + ' ' + app.get_name();
}

std::string sentenceOf(const Command& command)
{
    switch (command.daemon) {
    case Daemon::Asked:
        return std::string("Sends the daemon a request and waits for the reply.") +
               (command.createsKey ? keySentence : "");
    case Daemon::Notified:
        return "Notifies the daemon, and does not wait: there is no reply.";
    default:
        return "Reads files, and does not wait for the daemon.";
    }
}

void setLayout(CLI::App& root, const CommandTable& table)
{
    root.formatter(std::make_shared<Layout>(table));
}

} // namespace ostrelctl
