// Every command's JSON, and every error's, is what docs/ostrelctl.schema.json
// says.

#include "cli/CliCase.h"

#include <sstream>

namespace
{

using cli_case::answerTo;
using cli_case::FinishedProgram;
using cli_case::json;
using cli_case::Words;
using testing::HasSubstr;

class Schema : public cli_case::WithDaemon
{
protected:
    /// Keeps what the words are answered with, to be checked as `name`.
    json keepAnswer(const std::string& name, const Words& words)
    {
        const json answer = answerTo(words);
        keep(name, answer);
        return answer;
    }
    void keep(const std::string& name, const json& answer)
    {
        m_lines += json({{"name", name}, {"answer", answer}}).dump() + '\n';
        m_names.insert(name);
    }

    /// The same for a command that is its words without what follows.
    json keepCommand(const std::string& path, const Words& arguments = {})
    {
        Words words;
        std::istringstream stream(path);
        for (std::string word; stream >> word;) {
            words.push_back(word);
        }
        words.insert(words.end(), arguments.begin(), arguments.end());
        return keepAnswer(path, words);
    }

    void keepStore(const std::string& word)
    {
        const std::string pem = cli_case::TestCertificate().pem();
        const std::string bundle = file(word + ".pem", {pem, "-----BEGIN CERTIFICATE-----\nAAAA\n"
                                                             "-----END CERTIFICATE-----\n"});
        const std::string id = keepCommand(word + " add", {"web", bundle})["certificates"][0]["id"];
        keepCommand(word + " add", {"web", bundle});
        for (const char* command : {"show", "info", "record", "details", "path"}) {
            keepCommand(word + ' ' + command, {"web", id});
        }
        keepCommand(word + " list", {"web"});
        keepCommand(word + " path", {"web"});
        keepCommand(word + " find", {"web", bundle});
        keepCommand(word + " revoke", {"web", id});
    }

    void keepServer()
    {
        keepCommand("server csr create", {"web"});
        for (const char* command : {"csr", "csr show", "csr info", "csr age"}) {
            keepCommand(std::string("server ") + command, {"web"});
        }
        const std::string answer = file("a.pem", {support::certificateFor(service.getServerCsr())});
        keepCommand("server apply", {"web", answer});
        for (const char* command : {"list", "show", "info", "record", "details", "path", "key"}) {
            keepCommand(std::string("server ") + command, {"web"});
        }
    }

    /// What does not fit; empty when everything does.
    std::string faults() const
    {
        support::writeText(files / "answers", m_lines);
        const FinishedProgram finished = support::runProgram(
            {"/bin/sh", "-c",
             "exec " OSTREL_CHECK_SCHEMA " " OSTREL_CTL_SCHEMA " <" + files / "answers"});
        EXPECT_EQ(finished.errors, "");
        return finished.status == 0 ? "" : finished.output;
    }

    const std::set<std::string>& names() const { return m_names; }

private:
    std::string m_lines;
    std::set<std::string> m_names;
};

TEST_F(Schema, FitsTheAnswerOfEveryCommand)
{
    keepStore("ca");
    keepStore("client");
    keepServer();
    for (const char* command :
         {"services", "expiry", "check-renewal", "notify network", "notify time"}) {
        keepCommand(command);
    }
    keepCommand("status", {"web"});
    keepCommand("reload", {"web"});
    keepCommand("send", {"web", "config", "help"});
    keepCommand("override set", {"web", "server", "a", "b"});
    keepCommand("override get", {"web", "server"});
    keepCommand("override get", {"web", "server", "a"});
    keepCommand("override unset", {"web", "server", "a"});
    keepCommand("server revoke", {"web"});
    keepCommand("server revoke", {"web"});
    device.addService("bad", "server yes\n");
    keepCommand("services");
    std::set<std::string> described;
    const json schema = json::parse(support::readText(OSTREL_CTL_SCHEMA));
    for (const auto& answer : schema["$defs"]["answers"].items()) {
        described.insert(answer.key());
    }
    EXPECT_EQ(names(), described);
    EXPECT_EQ(faults(), "");
}

TEST_F(Schema, FitsErrorsOfEachKind)
{
    addCA("One");
    keepAnswer("failed", {"frob"});
    keepAnswer("failed", {"status", "nope"});
    keepAnswer("failed", {"ca", "show", "web", "x"});
    keepAnswer("failed", {"ca", "add", "web", files / "missing"});
    keepAnswer("failed", {"server", "show", "web"});
    daemon.stop();
    keepAnswer("failed", {"reload", "web"});
    EXPECT_EQ(faults(), "");
}

TEST_F(Schema, FitsNothingElse)
{
    keep("reload", json({{"service", "web"}, {"reloaded", "yes"}}));
    keep("failed", json({{"error", {{"status", "odd"}}}}));
    keep("services", json::object());
    const std::string found = faults();
    EXPECT_THAT(found, HasSubstr("reload: $.reloaded: "));
    EXPECT_THAT(found, HasSubstr("failed: $.error.status: 'odd' is not one of"));
    EXPECT_THAT(found, HasSubstr("services: $: 'services' is a required property"));
}

} // namespace
