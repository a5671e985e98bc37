#include "integration/DaemonCase.h"

#include "support/TestCertificate.h"
#include "support/Thrown.h"

#include <ostrelApi/CallError.h>
#include <ostrelApi/ReturnCode.h>

namespace
{

using ostrelApi::OstrelService;
using support::callErrorOf;

class CallErrors : public daemon_case::WithDevice
{
};

TEST_F(CallErrors, HoldTheReturnCodeAndTheReasonOfTheDaemon)
{
    daemon.start();
    OstrelService web("web");
    const std::string pem = support::TestCertificate().pem();
    web.addCA(pem);
    const ostrelApi::CallError error = callErrorOf([&] { web.addCA(pem); });
    EXPECT_EQ(error.getReturnCode(), ostrelApi::ActionFailed);
    EXPECT_EQ(error.getDaemonReturnCode(), ostrelApi::CAExists);
    EXPECT_EQ(error.getReason(), "already there");
}

struct CallRow {
    const char* sentence;
    std::function<void(OstrelService&)> call;
};

TEST_F(CallErrors, NameTheLockFileWhenNoDaemonRuns)
{
    const CallRow rows[] = {
        {"a status", [](OstrelService& web) { web.isServiceRunning(); }},
        {"a reload", [](OstrelService& web) { web.reloadService(); }},
        {"an import", [](OstrelService& web) { web.addCA("text"); }},
        {"a revocation", [](OstrelService& web) { web.revokeCA("id"); }},
    };
    OstrelService web("web");
    for (const CallRow& row : rows) {
        const ostrelApi::CallError error = callErrorOf([&] { row.call(web); });
        EXPECT_EQ(error.getReason(), "cannot open the lock file " + pipe("web", "lock") +
                                         ": No such file or directory")
            << row.sentence;
        EXPECT_EQ(error.getDaemonReturnCode(), 0) << row.sentence;
    }
}

} // namespace
