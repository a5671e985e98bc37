#include <ostrel/Commands.h>

#include "support/CapturedErrors.h"
#include "support/Thrown.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using ostrel::Commands;

const std::string badFormat = "std::runtime_error: Bad format for command.";
const std::string badTarget = "std::runtime_error: format for command. Invalid target received: ";
const std::string badArguments =
    "std::runtime_error: Bad format for command. Incorrect arguments received for: ";

/// The text with which the parser refuses a message.
std::string refusalOf(const std::string& message)
{
    return support::thrownBy([&] { const Commands command(message); });
}

TEST(CommandsParser, ReadsUserPidTargetCommandAndArguments)
{
    const Commands command("alice\t812\tserver\tcreatecrt\tkey\tcnf\tdays");
    EXPECT_EQ(command.user, "alice");
    EXPECT_EQ(command.pid, "812");
    EXPECT_EQ(command.target, 0);
    EXPECT_EQ(command.command, 4);
    EXPECT_EQ(command.arguments, (std::vector<std::string>{"key", "cnf", "days"}));
}

TEST(CommandsParser, AcceptsAnyUserAndPid)
{
    const Commands command("\tno number\tconfig\tstatus");
    EXPECT_EQ(command.user, "");
    EXPECT_EQ(command.pid, "no number");
}

struct ArgumentsRow {
    const char* sentence;
    std::string fields;
    std::vector<std::string> expected;
};

TEST(CommandsParser, SplitsTheArgumentsAtEveryTab)
{
    const ArgumentsRow rows[] = {
        {"no argument", "", {}},
        {"a trailing tab gives no argument", "\t", {}},
        {"one", "\ta", {"a"}},
        {"an argument and a trailing tab", "\ta\t", {"a"}},
        {"two trailing tabs give one empty argument", "\t\t", {""}},
        {"an empty argument between others", "\ta\t\tb", {"a", "", "b"}},
        {"line feeds and blanks", "\t a\nb ", {" a\nb "}},
        {"a NUL", std::string("\ta\0b", 4), {std::string("a\0b", 3)}},
    };
    for (const ArgumentsRow& row : rows) {
        EXPECT_EQ(Commands("u\t1\tca\trevoke" + row.fields).arguments, row.expected)
            << row.sentence;
    }
}

struct RefusalRow {
    const char* sentence;
    std::string message;
    std::string expected;
};

TEST(CommandsParser, RefusesAMalformedMessage)
{
    const RefusalRow rows[] = {
        {"an empty message", "", badFormat},
        {"one field", "alice", badFormat},
        {"two fields", "alice\t812", badFormat},
        {"three fields", "alice\t812\tserver", badFormat},
        {"three fields and a tab", "alice\t812\tserver\t", badFormat},
        {"three tabs", "\t\t\t", badFormat},
        {"blanks in place of tabs", "alice 812 server getcsr", badFormat},
        {"a target in capitals", "alice\t812\tCA\tlist", badTarget},
        {"a target with a capital", "alice\t812\tServer\tgetcsr", badTarget},
        {"an empty target", "alice\t812\t\tgetcsr", badTarget},
        {"an unknown target and an unknown keyword", "alice\t812\tstore\tdestroy", badTarget},
        {"an unknown keyword", "alice\t812\tserver\tdestroy", badArguments + "destroy"},
        {"a keyword in capitals", "alice\t812\tserver\tGETCSR", badArguments + "GETCSR"},
        {"the start of a keyword", "alice\t812\tserver\tgetcs", badArguments + "getcs"},
        {"an empty keyword", "alice\t812\tserver\t\targument", badArguments},
        {"a line feed after the keyword", "alice\t812\tserver\tgetcsr\n",
         badArguments + "getcsr\n"},
        {"too few arguments for the trailing tab", "alice\t812\tserver\tcreatecrt\ta\tb\t",
         badArguments + "createcrt"},
        {"a keyword of another target", "alice\t812\tca\tgetcsr", badArguments + "getcsr"},
    };
    for (const RefusalRow& row : rows) {
        EXPECT_EQ(refusalOf(row.message), row.expected) << row.sentence;
    }
}

/// A keyword, its number, and the numbers of arguments, from 0 to 5, that it
/// accepts with each target.
struct KeywordRow {
    std::string keyword;
    int number;
    std::string server;
    std::string ca;
    std::string client;
    std::string config;
};

const KeywordRow keywords[] = {
    {"reload", 0, "", "", "", "0"},
    {"status", 18, "", "", "", "0"},
    {"getcsr", 2, "0", "", "", ""},
    {"getcsrinfo", 19, "0", "", "", ""},
    {"createcsr", 3, "012345", "", "", ""},
    {"createcrt", 4, "3", "", "", ""},
    {"applycrt", 5, "1", "", "", ""},
    {"getkey", 12, "0", "", "", ""},
    {"revoke", 6, "0", "012345", "012345", ""},
    {"add", 8, "", "1", "1", ""},
    {"list", 7, "", "0", "0", ""},
    {"listByCN", 17, "", "1", "1", ""},
    // Intended: with two or more arguments, "info" accepts any target.
    {"info", 9, "02345", "12345", "12345", "2345"},
    {"help", 1, "0", "0", "0", "0"},
    {"getOverwrittenData", 15, "0", "1", "1", ""},
    {"setOverwrittenData", 16, "2", "3", "3", ""},
    {"details", 10, "0", "1", "1", ""},
    {"getcertinfo", 20, "012345", "012345", "012345", ""},
    {"getcsrtimestamp", 21, "0", "", "", ""},
    {"getcert", 13, "0", "1", "1", ""},
    {"path", 11, "0", "1", "1", ""},
};

void expectCounts(const KeywordRow& row, int target, const std::string& word,
                  const std::string& counts)
{
    std::string message = "u\t1\t" + word + '\t' + row.keyword;
    for (char count = '0'; count <= '5'; ++count) {
        SCOPED_TRACE(row.keyword + " for " + word + " with " + count + " arguments");
        if (counts.find(count) == std::string::npos) {
            EXPECT_EQ(refusalOf(message), badArguments + row.keyword);
        } else {
            const Commands command(message);
            EXPECT_EQ(command.target, target);
            EXPECT_EQ(command.command, row.number);
            EXPECT_EQ(command.toMessage(), message) << "the message can be written again";
        }
        message += "\targument";
    }
}

TEST(CommandsParser, AcceptsAKeywordOnlyWithItsTargetsAndNumbersOfArguments)
{
    for (const KeywordRow& row : keywords) {
        expectCounts(row, 0, "server", row.server);
        expectCounts(row, 1, "ca", row.ca);
        expectCounts(row, 2, "client", row.client);
        expectCounts(row, 3, "config", row.config);
    }
}

TEST(CommandsParser, AcceptsManyArgumentsWhereAnyNumberIsAllowed)
{
    std::string message = "u\t1\tserver\tcreatecsr";
    for (int i = 0; i < 1000; ++i) {
        message += '\t' + std::to_string(i);
    }
    EXPECT_EQ(Commands(message).arguments.size(), 1000U);
    EXPECT_EQ(Commands(message).arguments.back(), "999");
}

TEST(CommandsParser, RefusesEveryPrefixThatEndsBeforeTheKeyword)
{
    const std::string message = "alice\t812\tserver\tapplycrt\tpath";
    const std::size_t keyword = message.find("applycrt");
    for (std::size_t length = 0; length <= keyword; ++length) {
        EXPECT_EQ(refusalOf(message.substr(0, length)), badFormat) << length;
    }
    for (std::size_t length = keyword + 1; length <= message.find("\tpath") + 1; ++length) {
        const std::string word =
            message.substr(keyword, std::min<std::size_t>(8, length - keyword));
        EXPECT_EQ(refusalOf(message.substr(0, length)), badArguments + word) << length;
    }
}

TEST(CommandsParser, TracesEachArgumentWithTheNumberOfItsField)
{
    const support::CapturedTrace trace;
    const Commands command("u\t1\tca\trevoke\ta\t\tc c");
    EXPECT_EQ(trace.text(), "number: 4 value:a\nnumber: 5 value:\nnumber: 6 value:c c\n");
}

TEST(CommandsParser, TracesTheArgumentsBeforeItRefusesATargetOrKeyword)
{
    const support::CapturedTrace trace;
    EXPECT_EQ(refusalOf("u\t1\tstore\tlist\ta"), badTarget);
    EXPECT_EQ(refusalOf("u\t1\tca\tdestroy\tb"), badArguments + "destroy");
    EXPECT_EQ(trace.text(), "number: 4 value:a\nnumber: 4 value:b\n");
}

TEST(CommandsParser, TracesNothingWithoutArgumentsOrFields)
{
    const support::CapturedTrace trace;
    const Commands command("u\t1\tca\tlist");
    EXPECT_EQ(refusalOf("u\t1\tca"), badFormat);
    EXPECT_EQ(trace.text(), "");
}

TEST(CommandsParser, TracesNothingWithoutTheDebugFlag)
{
    const support::CapturedErrors errors;
    const Commands command("u\t1\tca\trevoke\ta");
    EXPECT_EQ(errors.text(), "");
}

} // namespace
