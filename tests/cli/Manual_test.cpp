// ostrelctl(1) and docs/OSTRELCTL.md against the tables that the program reads.

#include "cli/Rows.h"

#include "engine/Manual.h"
#include "failure/ExitStatus.h"

#include <ostrl/splitstr.h>

#include "support/Document.h"

#include <gmock/gmock.h>

namespace
{

using namespace ostrelctl;
using cli_case::allCommands;
using testing::HasSubstr;

const std::string page = manual(commandTable());

/// The entry of a command.
std::string entryOf(const Command& command)
{
    const std::string start = ".It Cm " + command.path;
    for (std::size_t at = 0; (at = page.find(start, at)) != std::string::npos; ++at) {
        const std::string line = page.substr(at, page.find('\n', at) - at);
        const std::string rest = line.substr(start.size());
        if (rest.empty() || rest.rfind(" Ar ", 0) == 0 || rest.rfind(" Op ", 0) == 0) {
            return page.substr(at, page.find("\n.It Cm ", at) - at + 1);
        }
    }
    return {};
}

TEST(Manual, IsTheOneInTheDocuments)
{
    EXPECT_EQ(support::readDocument("man/ostrelctl.1").text(), page)
        << "generate it with ostrelctl_manual";
}

TEST(Manual, HasAllOfEachCommand)
{
    for (const Command& command : allCommands()) {
        SCOPED_TRACE(command.path);
        const std::string entry = entryOf(command);
        EXPECT_THAT(entry, HasSubstr(command.help));
        for (const Argument& argument : command.arguments) {
            EXPECT_THAT(entry,
                        HasSubstr(std::string(".It Ar ") + argument.name + '\n' + argument.help));
        }
        for (const Option& option : command.options) {
            EXPECT_THAT(entry, HasSubstr(std::string(".It Fl ") + (option.name + 1)));
            EXPECT_THAT(entry, HasSubstr(option.help));
        }
        for (const std::string& operation : splitstr(command.api, ' ')) {
            EXPECT_THAT(entry, HasSubstr(".Fn " + operation + '\n'));
        }
    }
}

TEST(Manual, HasTheOptionsOfEveryCommand)
{
    for (const Option& option : globalOptions()) {
        EXPECT_THAT(page, HasSubstr(std::string(".It Fl ") + (option.name + 1)));
        EXPECT_THAT(page, HasSubstr(option.help));
    }
}

TEST(Manual, HasEachExitStatus)
{
    for (const StatusRow& row : statusRows) {
        EXPECT_THAT(page, HasSubstr(".It " + std::to_string(static_cast<int>(row.status)) + " Pq " +
                                    row.word + '\n' + row.meaning));
    }
}

TEST(Document, HasEachExitStatus)
{
    const auto table = support::readDocument("OSTRELCTL.md").table("exit status");
    ASSERT_EQ(table.size(), statusRows.size());
    for (std::size_t i = 0; i < table.size(); ++i) {
        EXPECT_EQ(table[i][0], std::to_string(static_cast<int>(statusRows[i].status)));
        EXPECT_EQ(table[i][1], statusRows[i].word);
    }
}

} // namespace
