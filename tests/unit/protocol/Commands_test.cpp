#include <ostrel/Commands.h>

#include "support/CapturedErrors.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>
#include <vector>

namespace
{

using ostrel::Commands;

using CommandNumber = decltype(Commands::command);

static_assert(std::is_same<std::underlying_type<ostrel::TypeTarget>::type, std::int32_t>::value,
              "a target is a signed 32-bit number");
static_assert(std::is_same<std::underlying_type<CommandNumber>::type, std::int32_t>::value,
              "a command is a signed 32-bit number");

Commands commandOf(int target, int number, std::vector<std::string> arguments = {})
{
    Commands command;
    command.target = static_cast<ostrel::TypeTarget>(target);
    command.command = static_cast<CommandNumber>(number);
    command.arguments = std::move(arguments);
    return command;
}

TEST(Commands, StartsWithoutUserPidTargetCommandAndArguments)
{
    const Commands command;
    EXPECT_EQ(command.user, "");
    EXPECT_EQ(command.pid, "");
    EXPECT_EQ(command.target, 4);
    EXPECT_EQ(command.command, 14);
    EXPECT_TRUE(command.arguments.empty());
}

TEST(Commands, WriteThreeTabsWhenNothingIsSet)
{
    EXPECT_EQ(Commands().toMessage(), "\t\t\t");
}

TEST(Commands, SeparateTheFieldsByTabsWithoutATrailingTab)
{
    Commands command = commandOf(0, 4, {"key", "cnf", "days"});
    command.user = "alice";
    command.pid = "812";
    EXPECT_EQ(command.toMessage(), "alice\t812\tserver\tcreatecrt\tkey\tcnf\tdays");
}

struct WordRow {
    const char* sentence;
    int number;
    std::string word;
};

TEST(Commands, WriteTheWordOfTheTarget)
{
    const WordRow rows[] = {
        {"the server store", 0, "server"},
        {"the CAs", 1, "ca"},
        {"the trusted clients", 2, "client"},
        {"the configuration", 3, "config"},
        {"no target", 4, ""},
        {"the number above the targets", 5, ""},
        {"the number below the targets", -1, ""},
        {"the greatest number", INT_MAX, ""},
        {"the least number", INT_MIN, ""},
    };
    for (const WordRow& row : rows) {
        EXPECT_EQ(commandOf(row.number, 0).toMessage(), "\t\t" + row.word + "\treload")
            << row.sentence;
    }
}

TEST(Commands, WriteTheKeywordOfTheCommand)
{
    const WordRow rows[] = {
        {"reload", 0, "reload"},
        {"help", 1, "help"},
        {"the signing request", 2, "getcsr"},
        {"a new signing request", 3, "createcsr"},
        {"a new certificate", 4, "createcrt"},
        {"a certificate to apply", 5, "applycrt"},
        {"revocation", 6, "revoke"},
        {"the list", 7, "list"},
        {"a certificate to add", 8, "add"},
        {"the info", 9, "info"},
        {"the details", 10, "details"},
        {"the path", 11, "path"},
        {"the key", 12, "getkey"},
        {"the certificate", 13, "getcert"},
        {"no command", 14, ""},
        {"the overrides", 15, "getOverwrittenData"},
        {"new overrides", 16, "setOverwrittenData"},
        {"the list by common name", 17, "listByCN"},
        {"the status", 18, "status"},
        {"the signing request's record", 19, "getcsrinfo"},
        {"the certificate's record", 20, "getcertinfo"},
        {"the signing request's time", 21, "getcsrtimestamp"},
        {"the number above the table", 22, ""},
        {"the number below the table", -1, ""},
        {"the greatest number", INT_MAX, ""},
        {"the least number", INT_MIN, ""},
    };
    for (const WordRow& row : rows) {
        EXPECT_EQ(commandOf(0, row.number).toMessage(), "\t\tserver\t" + row.word) << row.sentence;
    }
}

struct ArgumentsRow {
    const char* sentence;
    std::vector<std::string> arguments;
    std::string expected;
};

TEST(Commands, WriteTheArgumentsUnchanged)
{
    const ArgumentsRow rows[] = {
        {"no arguments", {}, "\t\tca\tadd"},
        {"one", {"a"}, "\t\tca\tadd\ta"},
        {"several arguments, in order", {"b", "a"}, "\t\tca\tadd\tb\ta"},
        {"an empty argument keeps its tab", {""}, "\t\tca\tadd\t"},
        {"empty arguments around another", {"", "a", ""}, "\t\tca\tadd\t\ta\t"},
        {"blanks, quotes and line feeds", {" \"a'\\\n "}, "\t\tca\tadd\t \"a'\\\n "},
        {"a tab becomes one more field", {"a\tb"}, "\t\tca\tadd\ta\tb"},
        {"a NUL", {std::string("a\0b", 3)}, std::string("\t\tca\tadd\ta\0b", 12)},
    };
    for (const ArgumentsRow& row : rows) {
        EXPECT_EQ(commandOf(1, 8, row.arguments).toMessage(), row.expected) << row.sentence;
    }
}

TEST(Commands, WriteTheArgumentsEvenWithoutTargetAndCommand)
{
    EXPECT_EQ(commandOf(4, 14, {"a"}).toMessage(), "\t\t\t\ta");
}

TEST(Commands, TraceTheMessageWithTheDebugFlag)
{
    const support::CapturedTrace trace;
    Commands command = commandOf(1, 6, {"12"});
    command.user = "alice";
    EXPECT_EQ(command.toMessage(), "alice\t\tca\trevoke\t12");
    EXPECT_EQ(trace.text(), "Commands::toMessage() :alice\t\tca\trevoke\t12\n");
}

TEST(Commands, TraceNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    commandOf(1, 6, {"12"}).toMessage();
    EXPECT_EQ(errors.text(), "");
}

TEST(Commands, IdentifyATargetByItsExactWord)
{
    const WordRow rows[] = {
        {"the server store", 0, "server"},
        {"the CAs", 1, "ca"},
        {"the trusted clients", 2, "client"},
        {"the configuration", 3, "config"},
        {"an empty word", 4, ""},
        {"an unknown word", 4, "store"},
        {"capitals", 4, "CA"},
        {"a capital at the start", 4, "Server"},
        {"a blank before the word", 4, " ca"},
        {"a blank after the word", 4, "ca "},
        {"the start of a word", 4, "serve"},
        {"more than a word", 4, "clients"},
        {"a NUL after the word", 4, std::string("ca\0", 3)},
    };
    for (const WordRow& row : rows) {
        EXPECT_EQ(Commands().identifyTarget(row.word), row.number) << row.sentence;
    }
}

} // namespace
