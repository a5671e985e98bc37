// Notifications: the daemon learns of a change, and does not reply.

#include "commands/Families.h"
#include "engine/Outcome.h"

#include <ostrelApi/OstrelService.h>

namespace ostrelctl
{

namespace
{

Outcome notifyNetwork(const Invocation& /*invocation*/)
{
    OstrelService::notifyNetwork();
    return {{{"notified", "network"}}};
}

Outcome notifyTime(const Invocation& /*invocation*/)
{
    OstrelService::notifyTime();
    return {{{"notified", "time"}}};
}

} // namespace

Family notificationFamily()
{
    const View notified = sentence("the daemon is notified: {/notified}");
    return {
        "Notifications",
        {{"notify", "Notify the daemon of a change of the device"}},
        {
            {"notify network",
             {},
             {},
             "Notify the daemon that the network changed",
             "notifyNetwork sendNotification",
             Daemon::Notified,
             notifyNetwork,
             notified},
            {"notify time",
             {},
             {},
             "Notify the daemon that the clock was set",
             "notifyTime sendNotification",
             Daemon::Notified,
             notifyTime,
             notified},
        },
    };
}

} // namespace ostrelctl
