#include "cli/CliCase.h"

namespace
{

using cli_case::answerTo;
using cli_case::FinishedProgram;
using cli_case::run;
using cli_case::Words;
using testing::HasSubstr;
using testing::StartsWith;

using Usage = cli_case::WithDevice;

struct WrongRow {
    const char* sentence;
    Words words;
    const char* line;
};

TEST_F(Usage, ThatIsWrongIsStatus2AndNamesTheHelp)
{
    const WrongRow rows[] = {
        {"no words", {}, "no command is given; `ostrelctl --help`"},
        {"an option alone", {"--json"}, "no command is given"},
        {"no such command", {"frob"}, "there is no command 'frob'; `ostrelctl --help`"},
        {"no such command of a group",
         {"ca", "lst", "web"},
         "there is no command 'ca lst'; did you mean 'ca list'? `ostrelctl ca --help`"},
        {"a mistyped group",
         {"sever", "list"},
         "there is no command 'sever'; did you mean 'server'?"},
        {"help on no command",
         {"help", "ca", "frob"},
         "there is no command 'ca frob'; `ostrelctl ca"},
        {"a mistyped option", {"services", "--time-out=5"}, "did you mean '--timeout'?"},
        {"a word after a command that others begin with",
         {"server", "csr", "show", "web", "x"},
         "not expected: x"},
        {"no service for it",
         {"server", "csr"},
         "SERVICE is required; `ostrelctl server csr --help`"},
        {"a group alone", {"server", "--debug"}, "no command is given; `ostrelctl server --help`"},
        {"no service", {"ca", "list"}, "SERVICE is required; `ostrelctl ca list --help`"},
        {"no file", {"ca", "add", "web"}, "FILE is required"},
        {"a word too many", {"ca", "list", "web", "x"}, "not expected: x"},
        {"an unknown option", {"services", "--frob"}, "not expected: --frob"},
        {"another command's option", {"services", "--cn", "x"}, "--cn"},
        {"an option without its value", {"services", "--timeout"}, "--timeout"},
        {"letters for a number", {"services", "--timeout", "soon"}, "'soon' is not a number"},
        {"a number below 0", {"services", "--timeout=-1"}, "'-1' is not a number"},
        {"a number without end", {"services", "--wait", "99999999999"}, "is not a number"},
        {"no number", {"services", "--timeout="}, "--timeout"},
        {"no such colour", {"services", "--color", "pink"}, "--color is one of: auto always never"},
        {"a control character", {"fr\033ob"}, "there is no command 'fr?ob'"},
        {"an empty word", {""}, "there is no command ''"},
    };
    for (const WrongRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        const FinishedProgram finished = run(row.words);
        EXPECT_EQ(finished.status, 2) << finished.errors;
        EXPECT_EQ(finished.output.find("Usage"), std::string::npos);
        EXPECT_THAT(finished.errors, StartsWith("ostrelctl: "));
        EXPECT_THAT(finished.errors, HasSubstr(row.line));
        if (!row.words.empty() && row.words.back() != "--timeout") {
            EXPECT_EQ(answerTo(row.words)["error"]["status"], "usage");
        }
    }
}

TEST_F(Usage, TakesTheOptionsOfEveryCommandAnywhere)
{
    for (const Words& words :
         {Words{"--json", "ca", "list", "vpn"}, Words{"ca", "--json", "list", "vpn"},
          Words{"ca", "list", "vpn", "--json"},
          Words{"--timeout", "5", "ca", "list", "vpn", "--json"},
          Words{"--timeout=5", "ca", "--wait", "1", "list", "--json", "vpn"}}) {
        SCOPED_TRACE(testing::PrintToString(words));
        const FinishedProgram finished = run(words);
        EXPECT_EQ(finished.status, 1) << "the store is not made yet";
        EXPECT_THAT(finished.output, HasSubstr("\"attempted\": \"ca list\""));
    }
}

TEST_F(Usage, TakesWhatFollowsTwoDashesAsItIs)
{
    const FinishedProgram finished = run({"status", "--", "--help"});
    EXPECT_EQ(finished.status, 5);
    EXPECT_THAT(finished.errors, HasSubstr("there is no service '--help'"));
    EXPECT_THAT(run({"expiry", "vpn", "--", "--json"}).errors,
                HasSubstr("there is no service '--json'"));
    EXPECT_EQ(run({"server", "csr", "--", "create"}).status, 5);
}

TEST_F(Usage, TakesWordsInBracketsAsTheyAre)
{
    const FinishedProgram finished = run({"ca", "add", "web", "[a,b]"});
    EXPECT_THAT(finished.errors, HasSubstr("cannot read [a,b]: No such file"));
}

TEST_F(Usage, IsShownOnEveryLevel)
{
    const FinishedProgram all = run({"--help"});
    EXPECT_EQ(all.status, 0);
    EXPECT_EQ(all.errors, "");
    EXPECT_THAT(all.output, HasSubstr("\nUsage: ostrelctl COMMAND"));
    EXPECT_THAT(all.output, HasSubstr("\n  server csr create* "));
    EXPECT_THAT(all.output, HasSubstr("\n  10  A server certificate is due for renewal\n"));
    const std::string group = run({"ca", "--help"}).output;
    EXPECT_THAT(group, HasSubstr("\n  ca add* "));
    EXPECT_THAT(group, Not(HasSubstr("client add")));
    const std::string command = run({"ca", "add", "--help"}).output;
    EXPECT_THAT(command, HasSubstr("\nUsage: ostrelctl ca add [OPTION...] SERVICE FILE...\n"));
    EXPECT_THAT(command, HasSubstr("--timeout SECONDS"));
    EXPECT_EQ(run({"ca", "add", "-h"}).output, command);
    EXPECT_EQ(run({"--help", "ca", "add", "web"}).output, command);
    EXPECT_EQ(run({"help", "ca", "add"}).output, command);
    EXPECT_EQ(run({"help", "ca"}).output, group);
    EXPECT_EQ(run({"help"}).output, all.output);
}

TEST_F(Usage, PrintsTheVersion)
{
    EXPECT_THAT(run({"--version"}).output,
                testing::MatchesRegex("ostrelctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(run({"-V"}).output, run({"--version"}).output);
}

} // namespace
