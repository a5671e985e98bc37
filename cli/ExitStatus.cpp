#include "ExitStatus.h"

namespace ostrelctl
{

const std::array<StatusRow, 11> statusRows = {{
    {ExitStatus::Done, "done", "Done, or there was nothing to do"},
    {ExitStatus::Failed, "failed", "Failed for a reason that no other status names"},
    {ExitStatus::Usage, "usage", "The command line is wrong; nothing was done"},
    {ExitStatus::Locked, "locked", "Another caller holds the service's lock"},
    {ExitStatus::Denied, "denied", "This user may not do it"},
    {ExitStatus::NoService, "no-service", "There is no such service, or it has no such store"},
    {ExitStatus::NoCertificate, "no-certificate", "There is no such certificate, request or key"},
    {ExitStatus::DaemonOff, "daemon-off", "The daemon does not run"},
    {ExitStatus::Refused, "refused", "The daemon refused"},
    {ExitStatus::TimeOut, "time-out", "The time that --timeout gives was up"},
    {ExitStatus::RenewalDue, "renewal-due", "A certificate is due to be renewed"},
}};

const StatusRow& rowOf(ExitStatus status)
{
    return statusRows[static_cast<std::size_t>(status)];
}

} // namespace ostrelctl
