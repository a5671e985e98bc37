// Completion as bash, fish and zsh do it, with the scripts that are installed.

#include "cli/CliCase.h"
#include "support/TextFiles.h"

#include "support/PseudoTerminal.h"
#include <ostrel/ExternalCertificatesAccessor.h>

#include <filesystem>

namespace
{

using cli_case::Words;
using support::Keys;
using support::runOnTerminal;
using support::runProgram;
using testing::HasSubstr;
using testing::Not;

const std::string scripts = OSTREL_COMPLETION_SCRIPTS;

class Shells : public cli_case::WithDaemon
{
protected:
    Shells()
    {
        const std::string own = std::filesystem::path(OSTREL_BUILT_CTL).parent_path();
        const char* const path = std::getenv("PATH");
        ::setenv("PATH", (own + ':' + (path != nullptr ? path : "")).c_str(), 1);
        ::setenv("HOME", (files / "home").c_str(), 1);
        ::setenv("TERM", "dumb", 1);
        ::setenv("PS1", "ready> ", 1);
        std::filesystem::create_directory(files / "home");
    }

    /// What bash holds for the words, as it hands them to the function; no files.
    static std::string bashCandidates(const std::string& words)
    {
        const std::string program = "source " + scripts + "/ostrelctl.bash; COMP_WORDS=(" + words +
                                    "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); "
                                    "_ostrelctl ostrelctl; echo \"${COMPREPLY[@]}\"";
        return runProgram({"/bin/bash", "-c", program}).output;
    }

    static std::string fishCandidates(const std::string& line)
    {
        const std::string program =
            "source " + scripts + "/ostrelctl.fish; complete -C '" + line + '\'';
        const auto finished = runProgram({"/usr/bin/fish", "--no-config", "-c", program});
        EXPECT_EQ(finished.errors, "");
        return finished.output;
    }

    /// A service whose name a shell would take as two commands.
    void addOddServices() const
    {
        device.addService(oddName, "name Odd\nmanagmentGroup ostrel\nca yes\n");
    }

    /// What a shell shows that completes the name of the odd service and runs the line.
    static std::string shownBy(const cli_case::Words& shell, const std::string& setUp)
    {
        const auto shown = runOnTerminal(shell, 400,
                                         {{"ready> ", setUp},
                                          {"ready> ", "ostrelctl status x\t"},
                                          {"echo", "\n"},
                                          {"ready> ", "exit\n"}});
        EXPECT_THAT(shown.text, HasSubstr("status " + oddName));
        return shown.text;
    }

    inline static const std::string oddName = "x;echo $((40+2))";
    const std::string id = addCA("One");
};

TEST_F(Shells, AreGivenCandidatesInBash)
{
    EXPECT_EQ(bashCandidates("ostrelctl ca re"), "record revoke\n");
    EXPECT_EQ(bashCandidates("ostrelctl ca show web ''"), id + '\n');
    EXPECT_EQ(bashCandidates("ostrelctl services --color = al"), "always\n");
    EXPECT_EQ(bashCandidates("ostrelctl frob ''"), "\n");
}

TEST_F(Shells, CompleteWhatIsTypedInBash)
{
    const auto shown =
        runOnTerminal({"/bin/bash", "--noprofile", "--norc", "-i"}, 200,
                      {{"ready> ", "source " + scripts + "/ostrelctl.bash\n"},
                       {"ready> ", "ostrelctl ca li\t"},
                       {"list ", "w\t"},
                       {"web ", "\n"},
                       {"ready> ", "ostrelctl ca show web " + id.substr(0, 5) + '\t'},
                       {id.substr(5) + ' ', "\n"},
                       {"ready> ", "exit\n"}});
    EXPECT_THAT(shown.text, HasSubstr("COMMON NAME"));
    EXPECT_THAT(shown.text, HasSubstr("-----END CERTIFICATE-----"));
}

TEST_F(Shells, CompleteFilesInBash)
{
    const std::string bundle = file("authorities.pem", {cli_case::TestCertificate().pem()});
    const auto shown = runOnTerminal(
        {"/bin/bash", "--noprofile", "--norc", "-i"}, 400,
        {{"ready> ", "source " + scripts + "/ostrelctl.bash\n"},
         {"ready> ", "ostrelctl ca add web " + bundle.substr(0, bundle.size() - 8) + '\t'},
         {"ties.pem ", "\n"},
         {"ready> ", "exit\n"}});
    EXPECT_THAT(shown.text, HasSubstr("added"));
}

TEST_F(Shells, InsertQuotedWordsInBash)
{
    addOddServices();
    EXPECT_EQ(bashCandidates("ostrelctl status x"), "x\\;echo\\ \\$\\(\\(40+2\\)\\)\n");
    EXPECT_THAT(shownBy({"/bin/bash", "--noprofile", "--norc", "-i"},
                        "source " + scripts + "/ostrelctl.bash\n"),
                Not(HasSubstr("42")));
}

TEST_F(Shells, InsertQuotedWordsInZsh)
{
    addOddServices();
    EXPECT_THAT(shownBy({"/bin/zsh", "--no-rcs", "-i"},
                        "unsetopt zle_bracketed_paste prompt_sp; fpath=(" + scripts +
                            " $fpath); autoload -Uz compinit; compinit -u -D\n"),
                Not(HasSubstr("42")));
}

TEST_F(Shells, RunNoKeyOfAnOverride)
{
    support::writeText(
        ostrel::ExternalCertificatesAccessor("web", "ca").certOverwrittenDataPath(id),
        "$((40+2)) value\n;id value\n");
    EXPECT_EQ(bashCandidates("ostrelctl override get web ca/" + id + " ''"), "\n");
    EXPECT_EQ(fishCandidates("ostrelctl override get web ca/" + id + ' '), "");
}

TEST_F(Shells, AreGivenCandidatesInFish)
{
    EXPECT_EQ(fishCandidates("ostrelctl ca rev"), "revoke\tRevoke certificates\n");
    EXPECT_EQ(fishCandidates("ostrelctl ca show web "), id + "\tOne\n");
    EXPECT_EQ(fishCandidates("ostrelctl services --color=al"), "--color=always\n");
    const std::string bundle = file("authorities.pem", {"x"});
    EXPECT_THAT(fishCandidates("ostrelctl ca add web " + bundle.substr(0, bundle.size() - 8)),
                HasSubstr(bundle));
}

TEST_F(Shells, CompleteWhatIsTypedInZsh)
{
    const auto shown = runOnTerminal({"/bin/zsh", "--no-rcs", "-i"}, 200,
                                     {{"ready> ", "unsetopt zle_bracketed_paste prompt_sp\n"},
                                      {"ready> ", "fpath=(" + scripts +
                                                      " $fpath); autoload -Uz compinit; "
                                                      "compinit -u -D\n"},
                                      {"ready> ", "ostrelctl ca li\t"},
                                      {"list ", "w\t"},
                                      {"web ", "\n"},
                                      {"ready> ", "exit\n"}});
    EXPECT_THAT(shown.text, HasSubstr("COMMON NAME"));
}

} // namespace
