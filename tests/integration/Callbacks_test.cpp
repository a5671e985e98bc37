#include "integration/ServerCase.h"

#include "support/Await.h"
#include "tools/Descriptor.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace
{

using server_case::ask;
using server_case::payload;
using testing::HasSubstr;
using testing::Not;

// Appends each call with a single write, because the scripts of several
// services run at the same time.
std::string record()
{
    return "for word; do line=\"$line<$word>\"; done\n"
           "printf '%s\\n' \"$line\" >>" +
           support::boxDirectory() + "/calls\n";
}

class Callbacks : public server_case::WithServer
{
protected:
    Callbacks() { support::writeText(m_calls, ""); }

    static void writeScript(const std::string& path, const std::string& text)
    {
        support::writeText(path, "#!/bin/sh\n" + text);
        std::filesystem::permissions(path, std::filesystem::perms(0700));
    }

    /// Starts the daemon with this callback script.
    void startWith(const std::string& script, const std::string& settings = "")
    {
        writeScript("/etc/ostrel/scripts/changed", script);
        configure("callbackScript changed\n" + settings);
        daemon.start();
    }

    /// Waits until the script has recorded `call`, and returns all calls so
    /// far.
    std::string callsAfter(const std::string& call) const
    {
        support::awaitChange(m_calls, call, [&] {
            return support::readText(m_calls).find(call + '\n') != std::string::npos;
        });
        return support::readText(m_calls);
    }

    const std::string m_calls = support::boxDirectory() + "/calls";
};

TEST_F(Callbacks, RunOnceForEachChangeInOrder)
{
    startWith(record());
    const std::string first = '<' + applyNew() + '>';
    ask(ostrel::CommandSetOverwrittenData, {"key", "value"});
    ask(ostrel::CommandCreateCrt, {"self", "30", "yes"});
    const std::string second = '<' + web().getServerActiveCertificateId() + '>';
    web().revokeServerCertificate("");
    EXPECT_EQ(callsAfter("<web><server-revoke>" + second), "<web><server-request><>\n"
                                                           "<web><server-apply>" +
                                                               first +
                                                               "\n"
                                                               "<web><server-override>" +
                                                               first +
                                                               "\n"
                                                               "<web><server-apply>" +
                                                               second +
                                                               "\n"
                                                               "<web><server-revoke>" +
                                                               second + "\n");
}

TEST_F(Callbacks, DoNotRunForReadsAndRefusedCommands)
{
    startWith(record());
    ask(ostrel::CommandGetCsr);
    ask(ostrel::CommandRevoke);
    ask(ostrel::CommandApplyCrt, {given("")});
    ask(ostrel::CommandHelp);
    web().createServerCsr();
    EXPECT_EQ(callsAfter("<web><server-request><>"), "<web><server-request><>\n");
}

TEST_F(Callbacks, RunForChangesThatTheDaemonMakesItself)
{
    startWith(record(), "selfSignedGeneration yes\n");
    const std::string call = "<web><server-apply><" + web().getServerActiveCertificateId() + '>';
    EXPECT_EQ(callsAfter(call), call + '\n');
}

TEST_F(Callbacks, ReceiveEachNameAsOneArgument)
{
    const std::string name = "o'dd \"na me\" $(id) *;";
    writeScript("/etc/ostrel/scripts/a script", record());
    configure("callbackScript a script\nselfSignedGeneration yes\n");
    device.addService(name, support::readText("/etc/ostrel/services/web.conf"));
    daemon.start();
    for (const std::string& service : {name, std::string("web")}) {
        const std::string id = ostrelApi::OstrelService(service).getServerActiveCertificateId();
        callsAfter('<' + service + "><server-apply><" + id + '>');
    }
}

TEST_F(Callbacks, MayBeInAnyDirectory)
{
    const std::string path = support::boxDirectory() + "/elsewhere";
    writeScript(path, record());
    configure("callbackScript " + path + '\n');
    daemon.start();
    web().createServerCsr();
    callsAfter("<web><server-request><>");
}

TEST_F(Callbacks, ThatFailAreLoggedAndDoNotAffectTheChange)
{
    const struct {
        const char* sentence;
        const char* script;
        const char* line;
    } rows[] = {
        {"it fails", "exit 3\n",
         "web: callback for server-request: /etc/ostrel/scripts/changed failed"},
        {"it is killed", "kill -9 $$\n",
         "web: callback for server-request: /etc/ostrel/scripts/changed failed"},
        {"it prints too much", "yes\n",
         "web: callback for server-request: /etc/ostrel/scripts/changed prints too much"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        startWith(row.script);
        const support::RunningDaemon::LogMark mark(daemon);
        EXPECT_EQ(ask(ostrel::CommandCreateCsr), payload(""));
        mark.await(row.line);
        EXPECT_EQ(web().getCsrInfo().subjectName.commonName, "web.example");
        daemon.stop();
    }
}

TEST_F(Callbacks, ThatAreMissingAreLoggedAndDoNotAffectTheChange)
{
    configure("callbackScript missing\n");
    daemon.start();
    const support::RunningDaemon::LogMark mark(daemon);
    EXPECT_EQ(ask(ostrel::CommandCreateCsr), payload(""));
    mark.await("web: callback for server-request: cannot run /etc/ostrel/scripts/missing");
}

TEST_F(Callbacks, ThatHangDelayNoCallAndAreKilled)
{
    startWith("[ \"$2\" != server-request ] || exec sleep 1000\n" + record());
    const support::RunningDaemon::LogMark mark(daemon);
    const std::string id = applyNew();
    EXPECT_EQ(ask(ostrel::CommandPath), payload(paths.certPath(id)));
    EXPECT_THAT(daemon.log(), Not(HasSubstr("takes too long")));
    mark.await("web: callback for server-request: /etc/ostrel/scripts/changed takes too long");
    const std::string call = "<web><server-apply><" + id + '>';
    EXPECT_EQ(callsAfter(call), call + '\n');
}

TEST_F(Callbacks, DoNotRunWhenNothingWasRevoked)
{
    writeScript("/etc/ostrel/scripts/changed", record());
    configure("callbackScript changed\nca yes\n");
    daemon.start();
    EXPECT_EQ(daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandRevoke), payload(""));
    EXPECT_EQ(
        daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandRevoke, {"0123456789abcdef"}),
        payload(""));
    const std::string id = web().addCA(support::TestCertificate().pem());
    web().revokeCA(id);
    const std::string revocation = "<web><ca-revoke><" + id + '>';
    EXPECT_EQ(callsAfter(revocation), "<web><ca-add><" + id + ">\n" + revocation + '\n');
}

TEST_F(Callbacks, ThatHangDoNotDelayOtherServices)
{
    writeScript("/etc/ostrel/scripts/quick", record());
    device.addService("vpn", std::string(daemon_case::vpnConfiguration) + "callbackScript quick\n");
    // The script hangs until this test ends.
    const std::string held = support::boxDirectory() + "/held";
    ASSERT_EQ(::mkfifo(held.c_str(), 0600), 0);
    const auto writer = ostrel::Descriptor::open(held, O_RDWR);
    startWith("exec <" + held + '\n' + record() + "exec cat\n");
    web().createServerCsr();
    web().createServerCsr();
    callsAfter("<web><server-request><>");
    const std::string id = ostrelApi::OstrelService("vpn").addCA(support::TestCertificate().pem());
    const std::string addition = "<vpn><ca-add><" + id + '>';
    EXPECT_EQ(callsAfter(addition), "<web><server-request><>\n" + addition + '\n');
    EXPECT_THAT(daemon.log(), Not(HasSubstr("takes too long")));
    daemon.kill();
}

} // namespace
