#include "engine/CommandLine.h"

#include "engine/Help.h"
#include "engine/Nearest.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

constexpr std::size_t mostDigits = 6;
constexpr std::size_t mostInASubject = 4;

const char* const helpWord = "help";

std::string faultOf(const Option& option, const std::string& value)
{
    const std::string allowed = option.values;
    if (allowed == "number") {
        const bool isNumber = !value.empty() && value.size() <= mostDigits &&
                              value.find_first_not_of("0123456789") == std::string::npos;
        return isNumber ? "" : fmt::format("'{}' is not a number for {}", value, option.name);
    }
    const bool isFine =
        allowed.empty() || (' ' + allowed + ' ').find(' ' + value + ' ') != std::string::npos;
    return isFine ? "" : fmt::format("{} is one of: {}", option.name, allowed);
}

void addArgument(CLI::App& app, const Argument& argument)
{
    CLI::Option* const option = app.add_option(argument.name, CLI::callback_t(), argument.help);
    option->required(argument.arity == Arity::One || argument.arity == Arity::AtLeastOne);
    if (isMany(argument)) {
        // Never enough: at two dashes, CLI11 leaves a command whose arguments have enough.
        const int most = CLI::detail::expected_max_vector_size;
        option->expected(most, most)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }
}

void addOption(CLI::App& app, const Option& option)
{
    if (option.value == nullptr) {
        app.add_flag(option.name, option.help);
        return;
    }
    const std::string otherwise =
        *option.otherwise != '\0' ? fmt::format(" ({})", option.otherwise) : "";
    app.add_option(option.name, CLI::callback_t(), option.help + otherwise)
        ->option_text(option.value)
        ->check([&option](const std::string& value) { return faultOf(option, value); });
}

/// A command that others begin with, as "server csr", needs its arguments only
/// where none of these follows.
void letOthersFollow(CLI::App& app)
{
    for (CLI::Option* const option :
         app.get_options([](auto* any) { return any->get_positional(); })) {
        option->required(false);
        app.final_callback([&app, option] {
            if (app.get_subcommands().empty() && option->count() == 0) {
                throw CLI::RequiredError(option->get_name());
            }
        });
        for (CLI::App* const other : app.get_subcommands({})) {
            other->preparse_callback([option](std::size_t /*words*/) { option->expected(0); });
        }
    }
}

void addGlobalOptions(CLI::App& root)
{
    root.option_defaults()->group("Options of every command");
    for (const Option& option : globalOptions()) {
        const std::string name = option.name;
        if (name == "--help") {
            root.set_help_flag("-h,--help", option.help);
        } else if (name == "--version") {
            root.set_version_flag("-V,--version", "ostrelctl " OSTREL_VERSION "\n", option.help);
        } else {
            addOption(root, option);
        }
    }
}

/// CLI11's parser of the whole table.
class Parser
{
public:
    Parser(const CommandTable& table, const Words& line) : m_table(table)
    {
        m_root.set_help_flag();
        m_root.fallthrough();
        m_root.require_subcommand(0, 1);
        setLayout(m_root, table);
        for (const Family& family : table) {
            addGroups(family, line);
        }
        // Last, or each command would have an option for help of its own.
        addGlobalOptions(m_root);
    }

    void parse(const Words& words)
    {
        try {
            m_root.parse(Words(words.rbegin(), words.rend()));
        } catch (const CLI::CallForVersion& caught) {
            m_version = caught.what();
        } catch (const CLI::CallForHelp&) {
            m_isHelpWanted = true;
        } catch (const CLI::ParseError& caught) {
            m_fault = caught.what();
        }
    }

    /// What is wrong with the words; empty where nothing is.
    const std::string& fault() const { return m_fault; }
    const std::string& version() const { return m_version; }
    bool isHelpWanted() const { return m_isHelpWanted; }
    std::string help() const { return m_root.help(); }

    /// Where the words lead to: a command, a group, or the program.
    const CLI::App& place() const
    {
        const CLI::App* app = &m_root;
        while (!app->get_subcommands().empty()) {
            app = app->get_subcommands().front();
        }
        return *app;
    }

    const Command* command() const { return commandCalled(m_table, pathOf(place())); }
    const CLI::App& root() const { return m_root; }

    /// The words that neither a command nor an option takes.
    Words unexpected() const { return m_root.remaining(true); }

private:
    // A quick start: commands of a group that the line does not name are left out.
    void addGroups(const Family& family, const Words& line)
    {
        for (const Group& group : family.groups) {
            add(group.path, group.help);
        }
        if (family.groups.empty() ||
            std::find(line.begin(), line.end(), family.groups.front().path) != line.end()) {
            addCommands(family);
        }
    }

    void addCommands(const Family& family)
    {
        for (const Command& command : family.commands) {
            CLI::App& app = appOf(command);
            for (const Argument& argument : command.arguments) {
                addArgument(app, argument);
            }
            for (const Option& option : command.options) {
                addOption(app, option);
            }
        }
        for (const Group& group : family.groups) {
            letOthersFollow(*m_groups.at(group.path));
        }
    }

    CLI::App& add(const std::string& path, const std::string& help)
    {
        const std::size_t blank = path.rfind(' ');
        const bool isFirst = blank == std::string::npos;
        CLI::App& parent = isFirst ? m_root : *m_groups.at(path.substr(0, blank));
        CLI::App* const app = parent.add_subcommand(isFirst ? path : path.substr(blank + 1), help);
        m_groups[path] = app;
        return *app;
    }

    CLI::App& appOf(const Command& command)
    {
        const auto group = m_groups.find(command.path);
        return group != m_groups.end() ? *group->second : add(command.path, command.help);
    }

    const CommandTable& m_table;
    CLI::App m_root{"Manage the certificates of this device's services", "ostrelctl"};
    std::map<std::string, CLI::App*> m_groups;
    std::string m_fault;
    std::string m_version;
    bool m_isHelpWanted = false;
};

bool isOption(const std::string& word)
{
    return word.size() > 1 && word[0] == '-';
}

Failure wrongUse(const std::string& why, const std::string& path, const std::string& nearest)
{
    const std::string blank = path.empty() ? "" : " ";
    const std::string question = nearest.empty() ? "" : fmt::format("did you mean '{}'? ", nearest);
    return {ExitStatus::Usage, why,
            fmt::format("{}`ostrelctl {}{}--help` shows the usage", question, path, blank)};
}

Candidates nextWords(const CLI::App& app)
{
    Candidates all;
    for (const CLI::App* const each : app.get_subcommands({})) {
        all.push_back({each->get_name(), each->get_description()});
    }
    if (app.get_parent() == nullptr) {
        all.push_back({helpWord, "Print help, as --help does"});
    }
    return all;
}

/// The first of the unexpected words that could be meant for a command.
std::optional<std::string> wordOf(const Words& unexpected)
{
    const auto word = std::find_if_not(unexpected.begin(), unexpected.end(), isOption);
    return word != unexpected.end() ? std::optional(*word) : std::nullopt;
}

Failure unknownCommand(const CLI::App& place, const std::string& word)
{
    const std::string path = pathOf(place);
    const std::string start = path.empty() ? "" : path + ' ';
    Words all;
    for (const Candidate& next : nextWords(place)) {
        all.push_back(next.word);
    }
    const std::string nearest = nearestOf(word, all);
    return wrongUse(fmt::format("there is no command '{}{}'", start, word), path,
                    nearest.empty() ? "" : start + nearest);
}

Failure wrongCommand(const Command& command, const std::string& fault, const Words& unexpected)
{
    Words names;
    for (const Option* const option : optionsOf(&command)) {
        names.emplace_back(option->name);
    }
    const bool isUnknown = !unexpected.empty() && isOption(unexpected.front());
    return wrongUse(fault, command.path, isUnknown ? nearestOf(unexpected.front(), names) : "");
}

void takeValues(Invocation& invocation, const CLI::App& app)
{
    for (const CLI::Option* const option : app.get_options({})) {
        if (option->count() != 0) {
            invocation.values[option->get_name()] = option->results();
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

void fill(Invocation& invocation, const Parser& parser)
{
    takeValues(invocation, parser.place());
    takeValues(invocation, parser.root());
    if (invocation.createsKey()) {
        invocation.values.emplace("--timeout", Words{"0"});
    }
    for (const Option* const option : optionsOf(invocation.command)) {
        if (*option->otherwise != '\0') {
            invocation.values.emplace(option->name, Words{option->otherwise});
        }
    }
    invocation.subject = subjectOf(invocation);
}

/// Takes the first word of "help ca add", which stands for "ca add --help".
bool takeHelpWord(Words& words)
{
    const bool isThere = !words.empty() && words.front() == helpWord;
    words.erase(words.begin(), words.begin() + (isThere ? 1 : 0));
    return isThere;
}

Words argumentsOf(const Command& command, const CLI::App& app)
{
    Words all;
    for (const Argument& argument : command.arguments) {
        const Words& given = app.get_option(argument.name)->results();
        all.insert(all.end(), given.begin(), given.end());
    }
    return all;
}

} // namespace

ParsedLine parse(const CommandTable& table, const Words& line)
{
    Words words = line;
    if (takeHelpWord(words)) {
        words.emplace_back("--help");
    }
    Parser parser(table, words);
    parser.parse(words);
    const Words unexpected = parser.unexpected();
    const auto word = wordOf(unexpected);
    ParsedLine parsed;
    const Command* const command = parsed.invocation.command = parser.command();
    if (!parser.version().empty()) {
        parsed.text = parser.version();
    } else if (command == nullptr && word) {
        parsed.failure = unknownCommand(parser.place(), *word);
    } else if (parser.isHelpWanted()) {
        parsed.text = parser.help();
    } else if (command == nullptr) {
        parsed.failure = wrongUse("no command is given", pathOf(parser.place()), "");
    } else if (!parser.fault().empty()) {
        parsed.failure = wrongCommand(*command, parser.fault(), unexpected);
    } else {
        fill(parsed.invocation, parser);
    }
    return parsed;
}

TypedWords typedBy(const CommandTable& table, const Words& words)
{
    Words line = words;
    const bool isHelp = takeHelpWord(line);
    Parser parser(table, line);
    parser.parse(line);
    TypedWords typed;
    typed.isOver = std::find(line.begin(), line.end(), "--") != line.end();
    typed.command = isHelp ? nullptr : parser.command();
    if (typed.command != nullptr) {
        typed.arguments = argumentsOf(*typed.command, parser.place());
    }
    if (typed.arguments.empty() && !typed.isOver && !wordOf(parser.unexpected())) {
        typed.next = nextWords(parser.place());
    }
    if (!line.empty() && !typed.isOver) {
        typed.open = optionWithValue(typed.command, line.back());
    }
    return typed;
}

} // namespace ostrelctl
