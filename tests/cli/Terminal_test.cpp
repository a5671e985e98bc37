#include "cli/CliCase.h"
#include "support/PseudoTerminal.h"
#include "support/TextFiles.h"

#include <ostrel/ExternalCertificatesAccessor.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace
{

using cli_case::commandLine;
using cli_case::run;
using support::runOnTerminal;
using testing::HasSubstr;
using testing::Not;

const char escape[] = "\033[";

class Terminal : public cli_case::WithDaemon
{
protected:
    Terminal()
    {
        ::unsetenv("NO_COLOR");
        addCA("A common name that is long, longer than any line of a narrow terminal could be");
    }
};

TEST_F(Terminal, AloneHasColours)
{
    EXPECT_THAT(runOnTerminal(commandLine({"services"})).text, HasSubstr(escape));
    EXPECT_THAT(run({"services"}).output, Not(HasSubstr(escape)));
}

TEST_F(Terminal, HasNoColoursWhereTheUserForbidsThem)
{
    EXPECT_THAT(runOnTerminal(commandLine({"services", "--color=never"})).text,
                Not(HasSubstr(escape)));
    ::setenv("NO_COLOR", "1", 1);
    EXPECT_THAT(runOnTerminal(commandLine({"services"})).text, Not(HasSubstr(escape)));
    EXPECT_THAT(runOnTerminal(commandLine({"services", "--color=always"})).text, HasSubstr(escape));
    ::setenv("NO_COLOR", "", 1);
    EXPECT_THAT(runOnTerminal(commandLine({"services"})).text, HasSubstr(escape));
}

TEST_F(Terminal, IsNotNeededForColoursOnDemand)
{
    EXPECT_THAT(run({"services", "--color=always"}).output, HasSubstr(escape));
    EXPECT_THAT(run({"services", "--color=always", "--json"}).output, Not(HasSubstr(escape)));
}

std::size_t longestLine(const std::string& text)
{
    std::istringstream lines(text);
    std::size_t longest = 0;
    for (std::string line; std::getline(lines, line);) {
        longest = std::max(longest, line.size() - (line.back() == '\r' ? 1U : 0U));
    }
    return longest;
}

TEST_F(Terminal, IsAsWideAsATableCanBe)
{
    const auto list = commandLine({"ca", "list", "web", "--color=never"});
    EXPECT_EQ(longestLine(runOnTerminal(list, 70).text), 70U);
    EXPECT_THAT(runOnTerminal(list, 70).text, HasSubstr("~"));
    EXPECT_THAT(runOnTerminal(list, 200).text, HasSubstr("could be"));
    EXPECT_THAT(run({"ca", "list", "web"}).output, HasSubstr("could be"));
}

TEST_F(Terminal, AloneIsShownTheProgress)
{
    const std::string bundle =
        file("b.pem", {cli_case::TestCertificate().pem(), cli_case::TestCertificate().pem()});
    const auto shown = runOnTerminal(commandLine({"ca", "add", "web", bundle}));
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.text, HasSubstr("adding 1 of 2"));
    EXPECT_THAT(shown.text, HasSubstr("adding 2 of 2"));
    EXPECT_THAT(shown.text, HasSubstr("\r\033[K"));
    EXPECT_EQ(run({"ca", "add", "web", bundle}).errors, "");
}

TEST_F(Terminal, IsNotSteeredByWhatACertificateSays)
{
    const std::string id = addCA("\033[2J\007red");
    const std::string text = runOnTerminal(commandLine({"ca", "list", "web"})).text;
    EXPECT_THAT(text, Not(HasSubstr("\033[2J")));
    EXPECT_THAT(run({"ca", "list", "web"}).output, Not(HasSubstr("\007")));
}

// A member of the managment group writes the overrides.
TEST_F(Terminal, IsNotSteeredByTextsAndJson)
{
    const std::string id = addCA("Two");
    const std::string path = ostrel::ExternalCertificatesAccessor("web", "ca").certDetailsPath(id);
    support::writeText(path, "a\xc2\x9b"
                             "2J\033[2J\n");
    const auto details = commandLine({"ca", "details", "web", id});
    EXPECT_THAT(runOnTerminal(details).text, HasSubstr("a?2J?[2J"));
    EXPECT_THAT(run({"ca", "details", "web", id}).output, HasSubstr("a\xc2\x9b"
                                                                    "2J\033[2J\n"));
    EXPECT_THAT(runOnTerminal(commandLine({"ca", "details", "web", id, "--json"})).text,
                HasSubstr("a\\u009b2J"));
    EXPECT_THAT(run({"ca", "details", "web", id, "--json"}).output, HasSubstr("a\xc2\x9b"
                                                                              "2J"));
}

TEST_F(Terminal, AloneShowsThatAKeyIsCreated)
{
    const auto shown = runOnTerminal(commandLine({"server", "csr", "create", "web"}));
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.text, HasSubstr("generating the key ..."));
    EXPECT_THAT(shown.text, HasSubstr("\r\033[K"));
    EXPECT_EQ(run({"server", "csr", "create", "web"}).errors, "");
    EXPECT_THAT(runOnTerminal(commandLine({"send", "web", "server", "createcsr"})).text,
                HasSubstr("generating the key ..."));
    EXPECT_THAT(runOnTerminal(commandLine({"send", "web", "server", "list"})).text,
                Not(HasSubstr("generating")));
}

TEST_F(Terminal, ShowsWhatEndsSoonInColour)
{
    cli_case::TestCertificate old;
    old.notAfter = "20200102000000Z";
    service.addCA(old.pem());
    EXPECT_THAT(run({"expiry", "--color=always"}).output, HasSubstr("\033[31m-"));
}

} // namespace
