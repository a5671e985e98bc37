#include "failure/ExitStatus.h"

namespace ostrelctl
{

const std::array<StatusRow, 11> statusRows = {{
    {ExitStatus::Done, "done", "Done, or there was nothing to do"},
    {ExitStatus::Failed, "failed", "Failed for a reason that no other status names"},
    {ExitStatus::Usage, "usage", "The command line is wrong; nothing was done"},
    {ExitStatus::Locked, "locked", "Another process holds the service's lock"},
    {ExitStatus::Denied, "denied", "This user has no access"},
    {ExitStatus::NoService, "no-service",
     "The service does not exist, or does not have this store"},
    {ExitStatus::NoCertificate, "no-certificate", "The certificate, request or key does not exist"},
    {ExitStatus::DaemonOff, "daemon-off", "The daemon does not run"},
    {ExitStatus::Refused, "refused", "The daemon refused the request"},
    {ExitStatus::TimeOut, "time-out", "The time of --timeout is over"},
    {ExitStatus::RenewalDue, "renewal-due", "A server certificate is due for renewal"},
}};

const StatusRow& rowOf(ExitStatus status)
{
    return statusRows[static_cast<std::size_t>(status)];
}

} // namespace ostrelctl
