#include "integration/DaemonCase.h"

#include "support/ScriptedClient.h"

#include <filesystem>
#include <functional>

namespace
{

using daemon_case::refusal;
using support::ScriptedClient;
using support::Step;

/// Services that a killed daemon served and the next daemon does not serve.
class NotServed : public daemon_case::WithDaemon
{
protected:
    struct Row {
        const char* sentence;
        std::function<void()> spoil;
    };

    const std::vector<Row> rows = {
        {"its configuration is broken",
         [this] { device.addService("web", "managmentGroup no-such-group\n"); }},
        {"its configuration is gone",
         [this] { std::filesystem::remove(device.serviceDirectory() + "/web.conf"); }},
        {"its directory cannot be created",
         [this] {
             std::filesystem::remove_all(device.storeDirectory() + "/web");
             support::writeText(device.storeDirectory() + "/web", "a file");
         }},
    };

    void serveWeb()
    {
        daemon.kill();
        std::filesystem::remove_all(device.storeDirectory() + "/web");
        device.addService("web", daemon_case::webConfiguration);
        daemon.start();
    }
};

TEST_F(NotServed, ServicesAreOffForTheirCallers)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sentence);
        serveWeb();
        // It reads the configuration before that is spoiled.
        ostrelApi::OstrelService client("web");
        daemon.kill();
        row.spoil();
        daemon.start();
        EXPECT_FALSE(std::filesystem::exists(pipe("web", "in")));
        try {
            client.isServiceRunning();
            ADD_FAILURE() << "still served";
        } catch (const ostrelApi::OstrelApiException& caught) {
            EXPECT_EQ(caught.getErrorMessage(), refusal(11));
        }
        EXPECT_EQ(daemon_case::askStatus("vpn"), daemon_case::payload("running"));
    }
}

TEST_F(NotServed, ServicesLeaveNoEarlierCallerWaiting)
{
    for (const Row& row : rows) {
        for (const Step step : {Step::SharesReplyFifo, Step::ClosesCommandFifo}) {
            SCOPED_TRACE(row.sentence + (", client " + toString(step)));
            serveWeb();
            ScriptedClient client(device, "web", "root\t1\tconfig\tstatus", step);
            daemon.kill();
            client.resume();
            row.spoil();
            daemon.start();
            EXPECT_NE(client.outcome(), "still waiting");
        }
    }
}

TEST_F(NotServed, ServicesEndACallInProgress)
{
    ScriptedClient client(device, "web", "", Step::OpensCommandFifo);
    const support::RunningDaemon::LogMark mark(daemon);
    std::filesystem::remove(pipe("web", "in"));
    client.resume();
    EXPECT_EQ(client.outcome(), "reply 10 ");
    mark.await("web: served");
    EXPECT_EQ(daemon_case::askStatus("web"), daemon_case::payload("running"));
}

} // namespace
