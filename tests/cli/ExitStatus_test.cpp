// Each exit status, as a script sees it, and the message beside it.

#include "cli/CliCase.h"
#include "support/ScriptedPeer.h"

#include "tools/Descriptor.h"

#include <sys/file.h>
#include <sys/stat.h>

namespace
{

using cli_case::answerTo;
using cli_case::FinishedProgram;
using cli_case::json;
using cli_case::run;
using cli_case::Words;
using testing::HasSubstr;
using testing::StartsWith;

using ExitStatus = cli_case::WithDevice;

/// How the words end, for people and for programs.
void expectFailure(const Words& words, int status, const char* word, const std::string& line)
{
    SCOPED_TRACE(testing::PrintToString(words));
    const FinishedProgram finished = run(words);
    EXPECT_EQ(finished.status, status);
    EXPECT_EQ(finished.output, "");
    EXPECT_THAT(finished.errors, StartsWith("ostrelctl: "));
    EXPECT_THAT(finished.errors, HasSubstr(line));
    EXPECT_EQ(std::count(finished.errors.begin(), finished.errors.end(), '\n'), 1);
    const json error = answerTo(words)["error"];
    EXPECT_EQ(error["status"], word);
    EXPECT_EQ(error["exitStatus"], status);
    EXPECT_NE(error["why"], "");
    EXPECT_NE(error["next"], "");
}

TEST_F(ExitStatus, Is3AndNamesTheHolderWhileTheServiceIsLocked)
{
    daemon.start();
    const auto lock = ostrel::Descriptor::open(pipe("web", "lock"), O_WRONLY);
    ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
    const std::string holder = "the service is locked by process " + std::to_string(::getpid());
    expectFailure({"reload", "web"}, 3, "locked", holder);
    expectFailure({"server", "csr", "create", "web"}, 3, "locked", holder);
    EXPECT_EQ(answerTo({"reload", "web"})["error"]["returnCode"], 2);
    EXPECT_EQ(run({"ca", "list", "web"}).status, 0);
}

TEST_F(ExitStatus, Is4WhereTheLockCannotBeOpened)
{
    std::filesystem::create_directory(pipe("web", "lock"));
    expectFailure({"reload", "web"}, 4, "denied", "access denied to " + pipe("web", "lock"));
    EXPECT_THAT(run({"reload", "web"}).errors, HasSubstr("in the group ostrel?"));
}

// The program without root's rights over files.
Words withoutPower(const Words& words)
{
    Words all = {"/usr/bin/setpriv", "--bounding-set=-all", "--inh-caps=-all",
                 "--ambient-caps=-all"};
    const Words line = cli_case::commandLine(words);
    all.insert(all.end(), line.begin(), line.end());
    return all;
}

TEST_F(ExitStatus, Is4WhereAFileCannotBeRead)
{
    daemon.start();
    const std::string id = applyNew();
    const std::string key = paths.certKeyPath(id);
    ASSERT_EQ(::chmod(key.c_str(), 0), 0);
    const FinishedProgram finished = support::runProgram(withoutPower({"server", "key", "web"}));
    EXPECT_EQ(finished.status, 4) << finished.errors;
    EXPECT_THAT(finished.errors, HasSubstr(key + ": Permission denied"));
    const std::string bundle = file("bundle.pem", {"x"});
    ASSERT_EQ(::chmod(bundle.c_str(), 0), 0);
    EXPECT_EQ(support::runProgram(withoutPower({"ca", "add", "web", bundle})).status, 4);
}

TEST_F(ExitStatus, Is4WhereAFileCannotBeWritten)
{
    daemon.start();
    applyNew();
    run({"override", "set", "web", "server", "alias", "door"});
    const std::string overrides = paths.certOverwrittenDataPath(
        ostrelApi::OstrelService("web").getServerActiveCertificateId());
    ASSERT_EQ(::chmod(overrides.c_str(), 0444), 0);
    const FinishedProgram finished =
        support::runProgram(withoutPower({"override", "set", "web", "server", "alias", "gate"}));
    EXPECT_EQ(finished.status, 4) << finished.errors;
    EXPECT_THAT(finished.errors, HasSubstr(overrides + ": Permission denied"));
}

TEST_F(ExitStatus, Is5WithoutTheServiceOrTheStore)
{
    const std::string pem = file("ca.pem", {cli_case::TestCertificate().pem()});
    expectFailure({"status", "nope"}, 5, "no-service", "there is no service 'nope'");
    expectFailure({"ca", "list", "../web"}, 5, "no-service", "there is no service '../web'");
    expectFailure({"ca", "list", ""}, 5, "no-service", "there is no service ''");
    for (const Words& words :
         {Words{"client", "list", "vpn"}, Words{"client", "revoke", "vpn", "1"},
          Words{"client", "add", "vpn", pem}, Words{"client", "find", "vpn", pem},
          Words{"server", "show", "vpn"}, Words{"server", "key", "vpn"},
          Words{"server", "csr", "create", "vpn"}, Words{"server", "csr", "age", "vpn"},
          Words{"server", "revoke", "vpn"}, Words{"override", "get", "vpn", "server"}}) {
        SCOPED_TRACE(testing::PrintToString(words));
        const FinishedProgram finished = run(words);
        EXPECT_EQ(finished.status, 5) << finished.errors;
        EXPECT_THAT(finished.errors, HasSubstr("This target doesn't exist for this service: "
                                               "the service has no "));
    }
}

TEST_F(ExitStatus, Is7WithoutADaemonThatEndedOrNeverRan)
{
    const std::string never = "daemon is off: no lock file " + pipe("web", "lock");
    expectFailure({"status", "web"}, 7, "daemon-off", never + "; is ostreld running?");
    expectFailure({"server", "csr", "create", "web"}, 7, "daemon-off", never);
    expectFailure({"notify", "time"}, 7, "daemon-off", "/notification.signal");
    daemon.start();
    daemon.stop();
    expectFailure({"status", "web"}, 7, "daemon-off", "nobody serves " + pipe("web", "lock"));
    EXPECT_EQ(run({"services"}).status, 0);
    EXPECT_EQ(leftovers(), std::set<std::string>());
}

TEST_F(ExitStatus, IsTheDaemonsReturnCodeByATable)
{
    support::ScriptedPeer peer(device, "web");
    for (int code = 1; code <= 44; ++code) {
        static const std::map<int, int> named = {{1, 1},  {2, 3},  {3, 4},  {6, 5},
                                                 {7, 5},  {10, 7}, {11, 7}, {20, 6},
                                                 {21, 6}, {22, 6}, {30, 6}, {40, 6}};
        const auto row = named.find(code);
        peer.answer(std::to_string(code) + " why");
        const FinishedProgram finished = run({"reload", "web"});
        EXPECT_EQ(finished.status, row != named.end() ? row->second : 8) << code;
        EXPECT_THAT(finished.errors, StartsWith("ostrelctl: reload web: ")) << code;
    }
    EXPECT_EQ(leftovers(), std::set<std::string>());
}

TEST_F(ExitStatus, Is1WhereTheReplyHasNoReturnCode)
{
    support::ScriptedPeer peer(device, "web");
    peer.answer("nonsense");
    const FinishedProgram finished = run({"reload", "web"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.errors,
                HasSubstr("the daemon's reply does not start with a return code: nonsense"));
    peer.answer("0 starting");
    EXPECT_EQ(run({"status", "web"}).status, 1);
}

TEST_F(ExitStatus, Is1WithoutAConfigurationOfTheDaemon)
{
    std::filesystem::remove("/etc/ostrel/config.daemon");
    for (const Words& words : {Words{"services"}, Words{"status", "web"}, Words{"notify", "time"},
                               Words{"expiry"}, Words{"ca", "list", "web"}}) {
        const FinishedProgram finished = run(words);
        EXPECT_EQ(finished.status, 1) << finished.errors;
        EXPECT_THAT(finished.errors, HasSubstr("/etc/ostrel/config.daemon"));
    }
}

TEST_F(ExitStatus, Is1WhereTheAnswerCannotBeWritten)
{
    const FinishedProgram finished = support::runProgram(
        {"/bin/sh", "-c", std::string("exec ") + OSTREL_BUILT_CTL + " services >/dev/full"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.errors, HasSubstr("the answer cannot be written"));
}

TEST_F(ExitStatus, ComesWithTheTraceOnDemand)
{
    daemon.start();
    EXPECT_EQ(run({"reload", "web"}).errors, "");
    EXPECT_THAT(run({"reload", "web", "--debug"}).errors, HasSubstr("\tconfig\treload\n"));
    const FinishedProgram traced = run({"--debug", "--json", "reload", "web"});
    EXPECT_THAT(traced.output, StartsWith("{\n"));
}

} // namespace
