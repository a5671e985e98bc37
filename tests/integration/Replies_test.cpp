// A reply belongs to the message that it answers, whoever gave up before.

#include "integration/Caller.h"
#include "integration/SlowWork.h"
#include "support/FileWatch.h"

#include <gmock/gmock.h>

#include <chrono>

namespace
{

using daemon_case::askStatus;
using daemon_case::Caller;
using daemon_case::payload;
using daemon_case::refusal;
using support::fingerprintId;
using support::TestCertificate;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using namespace std::chrono_literals;

std::string requestIsMade()
{
    server_case::ask(ostrel::CommandCreateCsr);
    return "made";
}

class Replies : public server_case::WithSlowHook
{
protected:
    Replies() { daemon.start(); }

    Caller::Work adding(const std::string& certificate) const
    {
        return [certificate] { return web().addCA(certificate); };
    }

    static Caller::Work revoking(const std::string& id)
    {
        return
            [id] { return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandRevoke, {id}); };
    }

    /// Makes the service wait for its hook, on behalf of a caller that has given up.
    void beginSlowWork() const
    {
        Caller request(requestIsMade);
        hook.awaitBegin();
        ASSERT_THAT(request.giveUp(), StartsWith("gave up: "));
    }

    /// A caller that sends its message and gives up.
    void giveUp(const Caller::Work& work) const
    {
        const support::FileWatch pipes({pipeDirectory("web")}, IN_CLOSE_WRITE);
        Caller caller(work);
        pipes.awaitTouch("web.in");
        EXPECT_THAT(caller.giveUp(), StartsWith("gave up: "));
    }

    static std::string listing()
    {
        return daemon_case::ask("web", ostrel::TargetCA, ostrel::CommandList);
    }

    static std::vector<std::string> ids() { return web().getCAList(); }

    const std::string first = TestCertificate().pem();
    const std::string second = TestCertificate().pem();
};

TEST_F(Replies, ToARequestThatWasGivenUpDoNotReachTheNextCaller)
{
    beginSlowWork();
    Caller next(adding(first));
    hook.letGo();
    EXPECT_EQ(next.outcome(), fingerprintId(first));
    EXPECT_THAT(ids(), ElementsAre(fingerprintId(first)));
    EXPECT_THAT(web().getServerCsr(), HasSubstr("BEGIN CERTIFICATE REQUEST")) << "it had begun";
}

TEST_F(Replies, ReachTheCallerWhoWaitsAndNotTheOneBefore)
{
    beginSlowWork();
    giveUp(adding(first));
    Caller next(adding(second));
    hook.letGo();
    EXPECT_EQ(next.outcome(), fingerprintId(second));
    EXPECT_THAT(ids(), ElementsAre(fingerprintId(second))) << "nobody waited for the other";
}

TEST_F(Replies, DoNotComeFromSeveralMessagesReadAsOne)
{
    const std::string id = web().addCA(first);
    beginSlowWork();
    giveUp(listing);
    giveUp(revoking(id));
    giveUp(revoking(id));
    Caller next(listing);
    hook.letGo();
    EXPECT_EQ(next.outcome(), payload(id));
}

TEST_F(Replies, ToARevocationGoToTheCallerWhoWaits)
{
    const std::string kept = web().addCA(first);
    const std::string revoked = web().addCA(second);
    beginSlowWork();
    giveUp(revoking(kept));
    Caller next(revoking(revoked));
    hook.letGo();
    EXPECT_EQ(next.outcome(), payload(revoked));
    EXPECT_THAT(ids(), ElementsAre(kept));
}

TEST_F(Replies, ToQuestionsAboutTheServiceDoNotWaitForSlowWork)
{
    beginSlowWork();
    Caller status([] { return askStatus("web"); });
    EXPECT_EQ(status.outcome(), payload("running"));
    Caller help([] { return daemon_case::ask("web", ostrel::TargetConfig, ostrel::CommandHelp); });
    EXPECT_THAT(help.outcome(), HasSubstr("reload"));
    hook.letGo();
    EXPECT_EQ(web().addCA(first), fingerprintId(first));
}

/// Callers that come while the service's process stands still.
class RepliesOfAStoppedProcess : public Replies
{
protected:
    RepliesOfAStoppedProcess() { ::kill(m_process, SIGSTOP); }
    ~RepliesOfAStoppedProcess() override { goOn(); }
    void goOn() const { ::kill(m_process, SIGCONT); }

private:
    const pid_t m_process = daemon.pidOf("web");
};

TEST_F(RepliesOfAStoppedProcess, GoToTheLastOfManyCallers)
{
    for (int i = 0; i < 20; ++i) {
        giveUp(adding(TestCertificate().pem()));
    }
    Caller last(adding(first));
    goOn();
    EXPECT_EQ(last.outcome(), fingerprintId(first));
    EXPECT_THAT(ids(), ElementsAre(fingerprintId(first)));
}

TEST_F(RepliesOfAStoppedProcess, GoToNobodyWhenEveryCallerGaveUp)
{
    for (int i = 0; i < 3; ++i) {
        giveUp(adding(first));
    }
    goOn();
    EXPECT_EQ(askStatus("web"), payload("running"));
    EXPECT_THAT(ids(), ElementsAre());
    EXPECT_EQ(web().addCA(second), fingerprintId(second));
}

/// The sentence, who gives up before the last caller comes, and what that one asks.
TEST_F(RepliesOfAStoppedProcess, DoNotDependOnWhatWasGivenUp)
{
    const auto creating = [] { return server_case::ask(ostrel::CommandCreateCsr); };
    const struct {
        const char* sentence;
        std::vector<Caller::Work> before;
        Caller::Work last;
        std::string expected;
    } rows[] = {
        {"the same question twice", {listing}, listing, payload("")},
        {"slow work given up", {creating}, listing, payload("")},
        {"a change given up twice", {adding(first), adding(first)}, listing, payload("")},
        {"an unknown id given up", {revoking("0123456789abcdef")}, listing, payload("")},
        {"a change after questions", {listing, listing}, adding(first), fingerprintId(first)},
        {"a question after a change",
         {revoking(fingerprintId(first))},
         listing,
         payload(fingerprintId(first))},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.sentence);
        ::kill(daemon.pidOf("web"), SIGSTOP);
        for (const Caller::Work& work : row.before) {
            giveUp(work);
        }
        Caller last(row.last);
        goOn();
        EXPECT_EQ(last.outcome(), row.expected);
    }
}

TEST_F(Replies, AreSentWhenTheDaemonEndsAfterQuickWork)
{
    Caller caller([] { return server_case::ask(ostrel::CommandCreateCsr); });
    hook.awaitBegin();
    const support::RunningDaemon::LogMark mark(daemon);
    ::kill(daemon.pid(), SIGTERM);
    mark.await("ending");
    hook.letGo();
    EXPECT_EQ(caller.outcome(), payload(""));
    EXPECT_EQ(daemon.stop(), 0);
}

TEST_F(Replies, AreRefusalsWhenTheDaemonEndsDuringSlowWork)
{
    Caller caller([] { return server_case::ask(ostrel::CommandCreateCsr); });
    const pid_t script = hook.awaitBegin();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(daemon.stop(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 9s) << "the hook has 10 s";
    EXPECT_THAT(caller.outcome(), Not(StartsWith("payload")));
    EXPECT_NE(::kill(script, 0), 0) << "the hook still runs";
}

} // namespace
