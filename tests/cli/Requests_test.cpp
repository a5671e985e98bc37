// Without a daemon, the commands that need it fail, and all others work.

#include "cli/CliCase.h"
#include "cli/Rows.h"

#include <ostrl/splitstr.h>

namespace
{

using cli_case::run;
using cli_case::Words;
using ostrelctl::Argument;
using ostrelctl::Command;
using ostrelctl::Daemon;

class Requests : public cli_case::WithDaemon
{
protected:
    Requests()
    {
        ids["ca"] = addCA("One");
        ids["client"] = service.addTrustedClient(cli_case::TestCertificate().pem());
        ids["server"] = applyNew();
        service.createServerCsr();
        pem = file("one.pem", {service.getCA(ids["ca"])});
        clientPem = file("client.pem", {service.getTrustedClient(ids["client"])});
        run({"override", "set", "web", "server", "alias", "door"});
        daemon.stop();
    }

    /// A line that the command accepts.
    Words lineOf(const Command& command) const
    {
        Words line;
        for (const std::string& word : splitstr(command.path, ' ')) {
            line.push_back(word);
        }
        const std::string store = line.front();
        for (const Argument& argument : command.arguments) {
            line.push_back(valueOf(argument.name, store));
        }
        return line;
    }

private:
    std::string valueOf(const std::string& argument, const std::string& store) const
    {
        if (argument == "ID") {
            return ids.at(store);
        }
        if (argument == "FILE") {
            return store == "client" ? clientPem : pem;
        }
        const std::map<std::string, std::string> values = {
            {"SERVICE", "web"},  {"TARGET", "ca"},          {"KEYWORD", "listByCN"},
            {"ARGUMENT", "One"}, {"CERTIFICATE", "server"}, {"KEY", "alias"},
            {"VALUE", "gate"}};
        return values.at(argument);
    }

    std::map<std::string, std::string> ids;
    std::string pem;
    std::string clientPem;
};

TEST_F(Requests, AreMadeByTheCommandsThatTheirRowsName)
{
    for (const Command& command : cli_case::allCommands()) {
        SCOPED_TRACE(command.path);
        const auto finished = run(lineOf(command));
        EXPECT_EQ(finished.status, command.daemon == Daemon::NotUsed ? 0 : 7) << finished.errors;
    }
}

} // namespace
