#include "integration/DaemonCase.h"

#include "support/DescriptorLimit.h"
#include "support/ScriptedClient.h"

#include <gmock/gmock.h>

namespace
{

using support::ScriptedClient;
using support::Step;

/// A daemon that has reached a limit of the kernel.
class Limits : public daemon_case::WithDevice
{
protected:
    Limits() { daemon.start(); }

    const support::InheritedDescriptors m_inherited;
};

TEST_F(Limits, DescriptorLimitStopsNoService)
{
    ostrelApi::OstrelService client("web");
    support::denyDescriptors(daemon.pid());
    daemon.reload("what is served stays: cannot read ");
    support::allowDescriptors(daemon.pid());
    EXPECT_TRUE(client.isServiceRunning());
    EXPECT_THAT(daemon.log(), testing::Not(testing::HasSubstr("its configuration is gone")));
}

TEST_F(Limits, DescriptorLimitDelaysAReply)
{
    ScriptedClient client(device, "web", "root\t1\tconfig\tstatus", Step::MakesReplyFifo);
    support::denyDescriptors(daemon.pidOf("web"));
    const support::RunningDaemon::LogMark mark(daemon);
    client.resume();
    mark.await("has to wait: ");
    support::allowDescriptors(daemon.pidOf("web"));
    EXPECT_EQ(client.outcome(), "reply 0 running");
    EXPECT_EQ(daemon_case::askStatus("web"), daemon_case::payload("running"));
}

/// Only a user namespace has its own limit on watches; root's limit is the
/// machine's.
TEST_F(Limits, WatchLimitDoesNotPreventAReply)
{
    const std::string limit = "/proc/sys/user/max_inotify_watches";
    if (support::Accounts::hasOtherIds()) {
        GTEST_SKIP() << "the limit would apply to the whole machine";
    }
    ScriptedClient client(device, "web", "root\t1\tconfig\tstatus", Step::MakesReplyFifo);
    support::writeText(limit, "2");
    client.resume();
    EXPECT_EQ(client.outcome(), "reply 0 running");
    EXPECT_THAT(daemon.log(), testing::HasSubstr("web.out is not watched: "));
}

} // namespace
