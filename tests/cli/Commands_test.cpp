// The table of commands: each row is complete, and the rows cover the library.

#include "cli/Rows.h"

#include "engine/CommandLine.h"
#include "failure/ExitStatus.h"
#include "support/TextFiles.h"

#include <nlohmann/json.hpp>

#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>

namespace
{

using namespace ostrelctl;
using cli_case::allCommands;
using testing::HasSubstr;

/// The words of a path, and more.
Words lineOf(const std::string& path, const Words& more)
{
    std::istringstream stream(path);
    Words line;
    for (std::string word; stream >> word;) {
        line.push_back(word);
    }
    line.insert(line.end(), more.begin(), more.end());
    return line;
}

std::string helpOn(const std::string& path)
{
    return parse(commandTable(), lineOf(path, {"--help"})).text.value_or("");
}

std::set<std::string> wordsOf(const std::string& text)
{
    std::istringstream stream(text);
    std::set<std::string> words;
    for (std::string word; stream >> word;) {
        words.insert(word);
    }
    return words;
}

TEST(ExitStatuses, AreFrozen)
{
    const std::pair<int, const char*> frozen[] = {
        {0, "done"},    {1, "failed"},     {2, "usage"},          {3, "locked"},
        {4, "denied"},  {5, "no-service"}, {6, "no-certificate"}, {7, "daemon-off"},
        {8, "refused"}, {9, "time-out"},   {10, "renewal-due"},
    };
    ASSERT_EQ(statusRows.size(), std::size(frozen));
    for (const auto& [number, word] : frozen) {
        const StatusRow& row = rowOf(static_cast<ExitStatus>(number));
        EXPECT_EQ(static_cast<int>(row.status), number);
        EXPECT_STREQ(row.word, word);
        EXPECT_STRNE(row.meaning, "");
    }
}

TEST(Commands, AreEachComplete)
{
    for (const Command& command : allCommands()) {
        SCOPED_TRACE(command.path);
        EXPECT_TRUE(std::regex_match(command.path, std::regex("[a-z-]+( [a-z-]+){0,2}")));
        EXPECT_TRUE(std::isupper(command.help[0])) << command.help;
        EXPECT_NE(std::string(command.help).back(), '.');
        EXPECT_FALSE(command.api.empty());
        EXPECT_TRUE(command.run);
        EXPECT_NE(command.view.at, nullptr);
        const bool hasColumns =
            command.view.kind != View::Members && command.view.kind != View::Sentence;
        EXPECT_EQ(command.view.columns.empty(), !hasColumns);
        EXPECT_EQ(commandCalled(commandTable(), command.path), &command)
            << "another command has this path";
    }
}

TEST(Commands, TakeArgumentsWithNamesOfTheirOwn)
{
    for (const Command& command : allCommands()) {
        SCOPED_TRACE(command.path);
        bool isLast = false;
        std::set<std::string> names;
        for (const Argument& argument : command.arguments) {
            EXPECT_FALSE(isLast) << argument.name
                                 << " follows one that can be left out or repeated";
            isLast = argument.arity != Arity::One;
            EXPECT_TRUE(std::regex_match(argument.name, std::regex("[A-Z]+"))) << argument.name;
            EXPECT_STRNE(argument.help, "") << argument.name;
            EXPECT_TRUE(names.insert(argument.name).second) << argument.name;
        }
    }
}

TEST(Commands, TakeOptionsWithHelpAndNamesOfTheirOwn)
{
    std::set<std::string> global;
    for (const Option& option : globalOptions()) {
        EXPECT_TRUE(global.insert(option.name).second) << option.name;
    }
    for (const Command& command : allCommands()) {
        std::set<std::string> names = global;
        for (const Option& option : command.options) {
            EXPECT_TRUE(std::regex_match(option.name, std::regex("--[a-z]+"))) << option.name;
            EXPECT_STRNE(option.help, "") << option.name;
            EXPECT_TRUE(names.insert(option.name).second) << option.name;
        }
    }
}

TEST(Commands, ActOnAServiceThatIsTheirFirstArgument)
{
    for (const Command& command : allCommands()) {
        for (std::size_t i = 0; i < command.arguments.size(); ++i) {
            EXPECT_EQ(std::string(command.arguments[i].name) == "SERVICE", i == 0) << command.path;
        }
    }
}

TEST(Commands, HaveHelpWithAllOfTheRow)
{
    for (const Command& command : allCommands()) {
        SCOPED_TRACE(command.path);
        const std::string help = helpOn(command.path);
        EXPECT_THAT(help, HasSubstr("Usage: ostrelctl " + command.path + " [OPTION...]"));
        EXPECT_THAT(help, HasSubstr(command.help));
        EXPECT_THAT(help, HasSubstr(command.api));
        for (const Argument& argument : command.arguments) {
            EXPECT_THAT(help, HasSubstr(argument.help));
        }
        for (const Option& option : command.options) {
            EXPECT_THAT(help, HasSubstr(option.help));
        }
        const char* const mark = command.daemon == Daemon::Asked ? "* " : " ";
        EXPECT_THAT(helpOn(""), HasSubstr("\n  " + command.path + mark));
    }
}

struct LimitRow {
    Words line;
    int seconds;
};

TEST(Commands, HaveATimeLimitUnlessTheyCreateAKey)
{
    const LimitRow rows[] = {
        {{"services"}, 30},
        {{"server", "apply", "web", "a.pem"}, 30},
        {{"server", "csr", "create", "web"}, 0},
        {{"server", "csr", "create", "web", "--compliant"}, 0},
        {{"server", "csr", "create", "web", "--timeout", "5"}, 5},
        {{"--timeout", "5", "server", "csr", "create", "web"}, 5},
        {{"server", "csr", "show", "web"}, 30},
        {{"send", "web", "server", "createcsr"}, 0},
        {{"send", "web", "server", "createcrt", "self", "30", "no"}, 0},
        {{"send", "web", "server", "createcsr", "--timeout=5"}, 5},
        {{"send", "web", "server", "getcsr"}, 30},
        {{"send", "web", "ca", "add", "createcsr"}, 30},
    };
    for (const LimitRow& row : rows) {
        const ParsedLine parsed = parse(commandTable(), row.line);
        EXPECT_EQ(parsed.invocation.number("--timeout"), row.seconds)
            << testing::PrintToString(row.line);
    }
    EXPECT_THAT(helpOn("server csr create"), HasSubstr("no time limit by default"));
    EXPECT_THAT(helpOn("send"), HasSubstr("no time limit by default"));
    EXPECT_THAT(helpOn("ca add"), testing::Not(HasSubstr("no time limit by default")));
}

/// A line with all arguments and options of a command.
Words fullLineOf(const Command& command)
{
    Words line = lineOf(command.path, {});
    for (const Argument& argument : command.arguments) {
        line.push_back(std::string("the ") + argument.name);
    }
    for (const Option& option : command.options) {
        line.emplace_back(option.name);
        if (option.value != nullptr) {
            line.emplace_back("7");
        }
    }
    return line;
}

TEST(Commands, AreParsedByTheirRows)
{
    for (const Command& command : allCommands()) {
        SCOPED_TRACE(command.path);
        const ParsedLine parsed = parse(commandTable(), fullLineOf(command));
        ASSERT_FALSE(parsed.failure) << parsed.failure->what();
        const Invocation& invocation = parsed.invocation;
        EXPECT_EQ(invocation.command, &command);
        for (const Argument& argument : command.arguments) {
            EXPECT_EQ(invocation.one(argument.name), std::string("the ") + argument.name);
        }
        for (const Option& option : command.options) {
            EXPECT_EQ(invocation.has(option.name), true) << option.name;
            EXPECT_TRUE(option.value == nullptr || invocation.one(option.name) == "7");
        }
        for (const Option& option : globalOptions()) {
            const bool isUnlimited =
                option.name == std::string("--timeout") && invocation.createsKey();
            EXPECT_EQ(invocation.one(option.name), isUnlimited ? "0" : option.otherwise)
                << option.name;
        }
    }
}

TEST(Groups, AreThoseThatCommandsBeginWith)
{
    std::set<std::string> begun;
    for (const Command& command : allCommands()) {
        for (std::size_t blank = 0; (blank = command.path.find(' ', blank)) != std::string::npos;) {
            begun.insert(command.path.substr(0, blank++));
        }
    }
    std::set<std::string> groups;
    for (const Family& family : commandTable()) {
        for (const Group& group : family.groups) {
            groups.insert(group.path);
            const Command* const command = commandCalled(commandTable(), group.path);
            EXPECT_THAT(helpOn(group.path),
                        HasSubstr(command != nullptr ? command->help : group.help));
        }
    }
    EXPECT_EQ(groups, begun);
}

/// Operations without a command: the workers that other operations share.
const std::set<std::string> workers = {
    "OstrelService",      "getCertificate",        "getList",    "getListByCN", "addCertificate",
    "addCertificateFile", "getCertificateDetails", "getLockPath"};

TEST(Commands, GiveAccessToEveryOperationOfTheLibrary)
{
    const std::string header = support::readText(OSTREL_SERVICE_HEADER);
    const std::string declarations = header.substr(0, header.find("\nprivate:"));
    std::set<std::string> offered;
    for (const Command& command : allCommands()) {
        offered.merge(wordsOf(command.api));
    }
    std::set<std::string> operations;
    // A declaration starts its line, and is no comment.
    const std::regex declaration("\n    [a-z][^/;()]*?([A-Za-z]+)\\([^;]*\\)( const)?;");
    for (std::sregex_iterator i(declarations.begin(), declarations.end(), declaration), end;
         i != end; ++i) {
        if (workers.count((*i)[1]) == 0) {
            operations.insert((*i)[1]);
        }
    }
    EXPECT_EQ(offered, operations);
}

TEST(Schema, DescribesTheAnswerOfEachCommandAndNothingElse)
{
    const auto schema = nlohmann::json::parse(support::readText(OSTREL_CTL_SCHEMA));
    std::set<std::string> described;
    for (const auto& [name, definition] : schema["$defs"]["answers"].items()) {
        described.insert(name);
    }
    std::set<std::string> paths;
    for (const Command& command : allCommands()) {
        paths.insert(command.path);
    }
    EXPECT_EQ(described, paths);
}

} // namespace
