// Compares the options in ostreld(8) with those that the daemon accepts.

#include <ostrl/splitstr.h>

#include "support/Document.h"
#include "support/RunningDaemon.h"
#include "support/StartProgram.h"

#include <gmock/gmock.h>

#include <set>
#include <sstream>

namespace
{

using support::RunningDaemon;
using support::runProgram;
using testing::Contains;

/// The options that "ostreld --help" lists.
std::set<std::string> helpedOptions()
{
    std::istringstream lines(runProgram({RunningDaemon::path, "--help"}).output);
    std::set<std::string> options;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("  -") == 0) {
            for (const std::string& name : splitstr(line.substr(2, line.find(' ', 2) - 2), ',')) {
                options.insert(name);
            }
        }
    }
    return options;
}

/// The manual's source writes an option with one dash less than the command
/// line.
std::set<std::string> manualOptions()
{
    std::istringstream lines(support::readDocument("man/ostreld.8").text());
    std::set<std::string> options;
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> words = splitstr(line, ' ');
        for (std::size_t i = 2; i < words.size() && words[0] == ".It"; ++i) {
            if (words[i - 1] == "Fl") {
                options.insert('-' + words[i]);
            }
        }
    }
    return options;
}

TEST(Options, MatchTheManual)
{
    EXPECT_THAT(helpedOptions(), Contains("--ready-fd"));
    EXPECT_EQ(manualOptions(), helpedOptions());
}

TEST(Options, ThatAreUnknownEndWithTheStatusInTheManual)
{
    EXPECT_GT(runProgram({RunningDaemon::path, "--no-such-option"}).status, 100);
    EXPECT_GT(runProgram({RunningDaemon::path, "--ready-fd", "-1"}).status, 100);
}

} // namespace
