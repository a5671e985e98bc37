#include "integration/DaemonCase.h"

#include "support/ScriptedClient.h"
#include "support/TestCertificate.h"

#include <filesystem>

namespace
{

using daemon_case::askStatus;
using daemon_case::payload;
using daemon_case::refusal;
using support::ScriptedClient;
using support::Step;

/// The daemon ends in the middle of a client's call, and another daemon starts.
class DaemonEnd : public daemon_case::WithDaemon, public testing::WithParamInterface<Step>
{
protected:
    DaemonEnd()
    {
        support::TestCertificate large;
        large.padding = 300000;
        const std::string id = ostrelApi::OstrelService("web").addCA(large.pem());
        m_question = "root\t1\tca\tgetcert\t" + id;
    }

    void expectService()
    {
        EXPECT_EQ(askStatus("web"), payload("running"));
        EXPECT_FALSE(std::filesystem::exists(pipe("web", "out")));
    }

    std::string m_question;
};

TEST_P(DaemonEnd, ByKillLeavesNoClientWaitingAfterARestart)
{
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        ScriptedClient client(device, "web", m_question, GetParam());
        daemon.restart();
        client.resume();
        ASSERT_NE(client.outcome(), "still waiting");
        expectService();
    }
}

TEST_P(DaemonEnd, ByKillLeavesNoClientWaitingThatContinuesBeforeTheRestart)
{
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        ScriptedClient client(device, "web", m_question, GetParam());
        daemon.kill();
        client.resume();
        daemon.start();
        ASSERT_NE(client.outcome(), "still waiting");
        expectService();
    }
}

TEST_P(DaemonEnd, ByKillTogetherWithItsClientLeavesAServiceThatAnswers)
{
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        ScriptedClient client(device, "web", m_question, GetParam());
        daemon.kill();
        client.kill();
        daemon.start();
        expectService();
    }
}

TEST_P(DaemonEnd, ByKillDoesNotReleaseTheLockOfAClient)
{
    ScriptedClient client(device, "web", m_question, GetParam());
    const std::string before = askStatus("web");
    daemon.restart();
    EXPECT_EQ(askStatus("web"), before);
}

TEST_P(DaemonEnd, BySignalLeavesNoStoppedClientWaiting)
{
    ScriptedClient client(device, "web", m_question, GetParam());
    EXPECT_EQ(daemon.stop(), 0);
    client.resume();
    EXPECT_NE(client.outcome(), "still waiting");
    EXPECT_EQ(askStatus("web"), refusal(11));
    daemon.start();
    expectService();
}

TEST_P(DaemonEnd, BySignalDoesNotReleaseTheLockOfAClient)
{
    ScriptedClient client(device, "web", m_question, GetParam());
    EXPECT_EQ(daemon.stop(), 0);
    daemon.start();
    const bool isLocked = GetParam() != Step::OpensLock;
    EXPECT_EQ(askStatus("web"), isLocked ? refusal(2) : payload("running"));
    client.resume();
    EXPECT_NE(client.outcome(), "still waiting");
    expectService();
}

INSTANTIATE_TEST_SUITE_P(After, DaemonEnd, testing::ValuesIn(support::allSteps),
                         [](const auto& row) { return toString(row.param); });

} // namespace
