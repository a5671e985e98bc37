#include "integration/DaemonCase.h"

#include "support/Await.h"
#include "support/ScriptedClient.h"
#include "support/TestCertificate.h"

namespace
{

using daemon_case::askStatus;
using daemon_case::payload;
using support::ScriptedClient;
using support::Step;

/// A service with one certificate that is several times as large as a pipe.
class KilledClient : public daemon_case::WithDaemon, public testing::WithParamInterface<Step>
{
protected:
    KilledClient()
    {
        support::TestCertificate large;
        large.padding = 300000;
        m_id = ostrelApi::OstrelService("web").addCA(large.pem());
    }

    /// The message that requests this certificate.
    std::string largeQuestion() const { return "root\t1\tca\tgetcert\t" + m_id; }

    void awaitSwept() const { support::awaitGone(pipe("web", "out")); }

    std::string m_id;
};

TEST_P(KilledClient, LeavesAServiceThatAnswersTheNextCall)
{
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        ScriptedClient client(device, "web", largeQuestion(), GetParam());
        client.kill();
        awaitSwept();
        ASSERT_EQ(askStatus("web"), payload("running"));
    }
}

TEST_P(KilledClient, DelaysNoOtherServiceWhileItIsStopped)
{
    ScriptedClient client(device, "web", largeQuestion(), GetParam());
    EXPECT_EQ(askStatus("vpn"), payload("running"));
    client.kill();
    EXPECT_EQ(askStatus("vpn"), payload("running"));
}

TEST_P(KilledClient, GetsItsReplyWhenItWasOnlyStopped)
{
    ScriptedClient client(device, "web", largeQuestion(), GetParam());
    client.resume();
    EXPECT_EQ(client.outcome(), "reply 0 " + ostrelApi::OstrelService("web").getCA(m_id));
    awaitSwept();
    EXPECT_EQ(askStatus("web"), payload("running"));
}

INSTANTIATE_TEST_SUITE_P(AfterIt, KilledClient, testing::ValuesIn(support::allSteps),
                         [](const auto& row) { return toString(row.param); });

TEST_F(KilledClient, ReleasesTheLockThatRefusedOtherClients)
{
    ScriptedClient client(device, "web", largeQuestion(), Step::TakesLock);
    EXPECT_EQ(askStatus("web"), daemon_case::refusal(2));
    client.kill();
    EXPECT_EQ(askStatus("web"), payload("running"));
}

} // namespace
