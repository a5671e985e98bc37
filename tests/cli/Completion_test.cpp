// The candidates for a command line that is being typed: rows of words, where
// the last word is not finished.

#include "cli/CliCase.h"
#include "support/TextFiles.h"

#include <ostrel/ExternalCertificatesAccessor.h>

#include "cli/Rows.h"

#include <ostrl/splitstr.h>

#include <sstream>

namespace
{

using cli_case::run;
using cli_case::Words;
using testing::Contains;
using testing::IsSupersetOf;
using testing::Not;

/// The answer for the words, line by line.
Words linesFor(Words words)
{
    words.insert(words.begin(), "__complete");
    const auto finished = run(words);
    EXPECT_EQ(finished.status, 0);
    EXPECT_EQ(finished.errors, "");
    std::istringstream stream(finished.output);
    Words lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The candidates alone; "files" for the line that stands for them.
Words candidatesFor(const Words& words)
{
    Words candidates;
    for (const std::string& line : linesFor(words)) {
        const std::size_t tab = line.find('\t');
        candidates.push_back(tab == 0 ? line.substr(1) : line.substr(0, tab));
    }
    return candidates;
}

class Completion : public cli_case::WithDaemon
{
protected:
    const std::string one = addCA("One");
    const std::string two = addCA("Two");
};

struct CompletionRow {
    const char* sentence;
    Words words;
    Words expected;
};

TEST_F(Completion, OffersWhatCanStandThere)
{
    const CompletionRow rows[] = {
        {"a command by its start", {"stat"}, {"status"}},
        {"a group", {"overr"}, {"override"}},
        {"a command of a group", {"ca", "re"}, {"record", "revoke"}},
        {"a group within a group", {"server", "cs"}, {"csr"}},
        {"a service by its start", {"status", "w"}, {"web"}},
        {"no service that is not there", {"status", "x"}, {}},
        {"commands and services, where both can stand",
         {"server", "csr", ""},
         {"create", "show", "info", "age", "vpn", "web"}},
        {"an id", {"ca", "show", "web", one.substr(0, 8)}, {one}},
        {"no id that is given", {"ca", "show", "web", one, ""}, {two}},
        {"no id of another store", {"client", "show", "web", ""}, {}},
        {"no id of an unknown service", {"ca", "show", "nope", ""}, {}},
        {"no argument too many", {"status", "web", ""}, {}},
        {"every service that is not given", {"expiry", "web", ""}, {"vpn"}},
        {"files", {"ca", "add", "web", ""}, {"files"}},
        {"more files", {"ca", "add", "web", "a.pem", "b"}, {"files"}},
        {"a certificate", {"override", "get", "web", "s"}, {"server"}},
        {"a certificate of a store", {"override", "get", "web", "ca/" + one}, {"ca/" + one}},
        {"a target", {"send", "web", "c"}, {"ca", "client", "config"}},
        {"an option", {"ca", "list", "--c"}, {"--cn", "--color"}},
        {"no option of another command", {"services", "--cn"}, {}},
        {"an option in front", {"--deb"}, {"--debug"}},
        {"a value", {"services", "--color", "a"}, {"auto", "always"}},
        {"a value in one word", {"services", "--color=n"}, {"--color=never"}},
        {"a value in the words that bash makes", {"services", "--color", "=", "n"}, {"never"}},
        {"a value right after the sign", {"--color", "="}, {"auto", "always", "never"}},
        {"nothing for a number", {"services", "--timeout", ""}, {}},
        {"what follows a value", {"--timeout", "5", "rel"}, {"reload"}},
        {"what follows bash's words", {"--color", "=", "never", "rel"}, {"reload"}},
        {"no option after two dashes", {"status", "--", "-"}, {}},
        {"a service after two dashes", {"status", "--", "v"}, {"vpn"}},
        {"nothing after what is no command", {"frob", ""}, {}},
        {"no candidates without words", {}, {}},
        {"a command after help", {"help", "ca", "re"}, {"record", "revoke"}},
        {"no argument after help", {"help", "ca", "show", ""}, {}},
        {"the word for help", {"hel"}, {"help"}},
    };
    for (const CompletionRow& row : rows) {
        SCOPED_TRACE(row.sentence);
        EXPECT_THAT(candidatesFor(row.words), testing::UnorderedElementsAreArray(row.expected));
    }
}

struct KeyRow {
    const char* key;
    bool isOffered;
};

// A member of the managment group writes the overrides.
TEST_F(Completion, OffersOnlyKeysThatAreWordsForEveryShell)
{
    const KeyRow rows[] = {
        {"alias", true},
        {"a_b.c:d/e@f%g+h=i,j-k", true},
        {"9", true},
        {"$(id)", false},
        {";id", false},
        {"`id`", false},
        {"-k", false},
        {"=k", false},
        {"~k", false},
        {"a*", false},
        {"a'b", false},
        {"a\"b", false},
        {"a\\b", false},
        {"a\x1b"
         "b",
         false},
        {"a\u202e"
         "b",
         false},
        {"é", false},
        {"a|b", false},
        {"a&b", false},
        {"a>b", false},
        {"{a}", false},
        {"a!b", false},
        {"a^b", false},
        {"a[b", false},
    };
    std::string text;
    Words expected;
    for (const KeyRow& row : rows) {
        text += row.key + std::string(" value\n");
        if (row.isOffered) {
            expected.emplace_back(row.key);
        }
    }
    support::writeText(
        ostrel::ExternalCertificatesAccessor("web", "ca").certOverwrittenDataPath(one), text);
    for (const char* command : {"get", "set", "unset"}) {
        EXPECT_THAT(candidatesFor({"override", command, "web", "ca/" + one, ""}),
                    testing::UnorderedElementsAreArray(expected));
    }
}

TEST_F(Completion, OffersOnlyWordsThatItCanWrite)
{
    device.addService("x\x1by", "name x\nmanagmentGroup ostrel\nca yes\n");
    EXPECT_THAT(candidatesFor({"status", "x"}), testing::IsEmpty());
}

TEST_F(Completion, OffersEveryFirstWordAtTheStart)
{
    EXPECT_THAT(candidatesFor({""}), IsSupersetOf({"services", "ca", "server", "notify"}));
    const Words words = candidatesFor({""});
    EXPECT_EQ(std::set<std::string>(words.begin(), words.end()).size(), words.size());
}

TEST_F(Completion, LeadsToEachCommandAndItsOptions)
{
    for (const ostrelctl::Command& command : cli_case::allCommands()) {
        Words words;
        for (const std::string& word : splitstr(command.path, ' ')) {
            words.emplace_back("");
            EXPECT_THAT(candidatesFor(words), Contains(word)) << command.path;
            words.back() = word;
        }
        words.emplace_back("--");
        const Words lines = linesFor(words);
        for (const ostrelctl::Option& option : command.options) {
            EXPECT_THAT(lines, Contains(std::string(option.name) + '\t' + option.help));
        }
        EXPECT_EQ(lines.size(), command.options.size() + ostrelctl::globalOptions().size());
    }
}

TEST_F(Completion, DescribesEachCandidate)
{
    EXPECT_THAT(linesFor({"ca", "show", "web", ""}), Contains(one + "\tOne"));
    EXPECT_THAT(linesFor({"status", "w"}), Contains("web\tWeb server"));
    EXPECT_THAT(linesFor({"stat"}), Contains("status\tReport whether the daemon serves a service"));
    EXPECT_THAT(linesFor({"c"}), Contains("ca\tThe certificate authorities that a service trusts"));
}

TEST_F(Completion, OffersTheKeysOfACertificate)
{
    run({"override", "set", "web", "ca/" + one, "max-age", "30"});
    EXPECT_EQ(linesFor({"override", "unset", "web", "ca/" + one, ""}), Words{"max-age\t30"});
    EXPECT_EQ(linesFor({"override", "unset", "web", "ca/" + two, ""}), Words{});
    EXPECT_EQ(linesFor({"override", "unset", "web", "server", ""}), Words{});
    EXPECT_EQ(linesFor({"override", "unset", "web", "odd", ""}), Words{});
}

TEST_F(Completion, OffersTheActiveIdOfTheServer)
{
    const std::string id = applyNew();
    EXPECT_EQ(candidatesFor({"server", "show", "web", ""}), Words{id});
    run({"override", "set", "web", "server", "max-age", "30"});
    EXPECT_EQ(candidatesFor({"override", "get", "web", "server", ""}), Words{"max-age"});
}

TEST_F(Completion, NeedsNoDaemon)
{
    daemon.stop();
    EXPECT_THAT(candidatesFor({"ca", "show", "web", ""}), testing::UnorderedElementsAre(one, two));
}

TEST_F(Completion, OffersNothingWithoutAConfiguration)
{
    std::filesystem::remove("/etc/ostrel/config.daemon");
    EXPECT_EQ(linesFor({"status", ""}), Words{});
    EXPECT_THAT(linesFor({""}), Not(testing::IsEmpty()));
}

TEST_F(Completion, IsNotSteeredByWhatACertificateSays)
{
    const std::string id = addCA("\033[2J\ttab");
    EXPECT_THAT(linesFor({"ca", "show", "web", id}), Contains(id + "\t?[2J?tab"));
}

} // namespace
