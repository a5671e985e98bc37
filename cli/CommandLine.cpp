#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

constexpr std::size_t mostDigits = 6;
constexpr std::size_t mostInASubject = 4;

bool isOption(const std::string& word)
{
    return word.size() > 1 && word[0] == '-';
}

// Whether the next word is the value of this one.
bool takesNextWord(const std::string& word)
{
    const auto& options = globalOptions();
    return std::any_of(options.begin(), options.end(), [&](const Option& option) {
        return option.value != nullptr && word == option.name;
    });
}

bool isStartOfACommand(const std::string& path)
{
    const auto& all = commands();
    return std::any_of(all.begin(), all.end(), [&](const Command& command) {
        return command.path == path || command.path.rfind(path + ' ', 0) == 0;
    });
}

std::string faultOf(const Option& option, const std::string& value)
{
    const std::string allowed = option.values;
    if (allowed == "number") {
        const bool isNumber = !value.empty() && value.size() <= mostDigits &&
                              value.find_first_not_of("0123456789") == std::string::npos;
        return isNumber ? "" : fmt::format("{} is no number for {}", value, option.name);
    }
    const bool isFine =
        allowed.empty() || (' ' + allowed + ' ').find(' ' + value + ' ') != std::string::npos;
    return isFine ? "" : fmt::format("{} is one of: {}", option.name, allowed);
}

void addArgument(CLI::App& parser, const Argument& argument)
{
    const bool isMany = argument.arity == Arity::Any || argument.arity == Arity::AtLeastOne;
    CLI::Option* const option = parser.add_option(argument.name);
    option->required(argument.arity == Arity::One || argument.arity == Arity::AtLeastOne);
    if (isMany) {
        option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args();
    }
}

void addOption(CLI::App& parser, const Option& option)
{
    if (option.value == nullptr) {
        parser.add_flag(option.name);
        return;
    }
    parser.add_option(option.name)->check([&option](const std::string& value) {
        return faultOf(option, value);
    });
}

void addAll(CLI::App& parser, const Command& command)
{
    // The rows have --help as an option like others.
    parser.set_help_flag();
    for (const Argument& argument : command.arguments) {
        addArgument(parser, argument);
    }
    for (const Option& option : command.options) {
        addOption(parser, option);
    }
    for (const Option& option : globalOptions()) {
        addOption(parser, option);
    }
}

void takeDefaults(Invocation& invocation, const std::vector<Option>& options)
{
    for (const Option& option : options) {
        if (*option.otherwise != '\0') {
            invocation.values.emplace(option.name, Words{option.otherwise});
        }
    }
}

std::string subjectOf(const Invocation& invocation)
{
    Words words;
    for (const Argument& argument : invocation.command->arguments) {
        if (argument.kind != Kind::Text) {
            const Words values = invocation.all(argument.name);
            words.insert(words.end(), values.begin(), values.end());
        }
    }
    if (words.size() > mostInASubject) {
        words.resize(mostInASubject);
        words.emplace_back("...");
    }
    return fmt::format("{}", fmt::join(words, " "));
}

} // namespace

std::string takePath(const Words& line, Words& rest)
{
    std::string path;
    bool isOver = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const std::string longer = path.empty() ? line[i] : path + ' ' + line[i];
        if (!isOver && !isOption(line[i]) && isStartOfACommand(longer)) {
            path = longer;
            continue;
        }
        isOver = isOver || !isOption(line[i]) || line[i] == "--";
        rest.push_back(line[i]);
        if (!isOver && takesNextWord(line[i]) && i + 1 < line.size()) {
            rest.push_back(line[++i]);
        }
    }
    return path;
}

const Command* commandCalled(const std::string& path)
{
    const auto& all = commands();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Command& command) { return command.path == path; });
    return found != all.end() ? &*found : nullptr;
}

void takeValues(Invocation& invocation, const Words& rest)
{
    CLI::App parser;
    addAll(parser, *invocation.command);
    try {
        parser.parse(Words(rest.rbegin(), rest.rend()));
    } catch (const CLI::ParseError& caught) {
        throw Failure(
            ExitStatus::Usage, caught.what(),
            fmt::format("`ostrelctl {} --help` shows what it takes", invocation.command->path));
    }
    for (const CLI::Option* option : parser.get_options()) {
        if (option->count() != 0) {
            invocation.values[option->get_name()] = option->results();
        }
    }
    takeDefaults(invocation, invocation.command->options);
    takeDefaults(invocation, globalOptions());
    invocation.subject = subjectOf(invocation);
}

std::vector<std::string> Invocation::all(const std::string& name) const
{
    const auto found = values.find(name);
    return found != values.end() ? found->second : Words{};
}

std::string Invocation::one(const std::string& name) const
{
    const auto found = values.find(name);
    return found != values.end() && !found->second.empty() ? found->second.front() : "";
}

int Invocation::number(const std::string& name) const
{
    const std::string text = one(name);
    return text.empty() ? 0 : std::stoi(text);
}

} // namespace ostrelctl
