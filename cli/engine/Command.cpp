#include "engine/Command.h"

namespace ostrelctl
{

const Command* commandCalled(const CommandTable& table, const std::string& path)
{
    for (const Family& family : table) {
        for (const Command& command : family.commands) {
            if (command.path == path) {
                return &command;
            }
        }
    }
    return nullptr;
}

const std::vector<Option>& globalOptions()
{
    static const std::vector<Option> all = {
        {"--json", nullptr, "Print one JSON object, for an error too"},
        {"--color", "WHEN", "Colours: auto for terminals only, always, or never", "auto",
         "auto always never"},
        {"--timeout", "SECONDS", "End with status 9 after this time; 0 for no limit", "30",
         "number"},
        {"--wait", "SECONDS", "Try again for this long while the service is locked", "0", "number"},
        {"--debug", nullptr, "Print the library's trace on the standard error stream"},
        {"--help", nullptr, "Print help on the program, a group of commands or a command"},
        {"--version", nullptr, "Print the version"},
    };
    return all;
}

std::vector<const Option*> optionsOf(const Command* command)
{
    std::vector<const Option*> all;
    const auto append = [&](const std::vector<Option>& options) {
        for (const Option& option : options) {
            all.push_back(&option);
        }
    };
    if (command != nullptr) {
        append(command->options);
    }
    append(globalOptions());
    return all;
}

const Option* optionWithValue(const Command* command, const std::string& name)
{
    for (const Option* const option : optionsOf(command)) {
        if (option->value != nullptr && name == option->name) {
            return option;
        }
    }
    return nullptr;
}

Words Invocation::all(const std::string& name) const
{
    const auto found = values.find(name);
    return found != values.end() ? found->second : Words{};
}

std::string Invocation::one(const std::string& name) const
{
    const auto found = values.find(name);
    return found != values.end() && !found->second.empty() ? found->second.front() : "";
}

bool Invocation::createsKey() const
{
    return command != nullptr && command->createsKey && command->createsKey(*this);
}

int Invocation::number(const std::string& name) const
{
    const std::string text = one(name);
    return text.empty() ? 0 : std::stoi(text);
}

} // namespace ostrelctl
