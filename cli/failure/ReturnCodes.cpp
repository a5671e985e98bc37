#include "failure/ReturnCodes.h"

#include <algorithm>
#include <iterator>

namespace ostrelctl
{

namespace
{

const char* const lookAgain = "the commands `list` and `services` show what exists";
const char* const seeLog = "the daemon's log has the details";

const CodeRow rows[] = {
    {ostrelApi::ActionFailed, ExitStatus::Failed, "--debug prints each step"},
    {ostrelApi::ApiLocked, ExitStatus::Locked, "try again, or wait with --wait SECONDS"},
    {ostrelApi::AccessDenied, ExitStatus::Denied, "only the service's managment group has access"},
    {ostrelApi::BadServiceId, ExitStatus::NoService, "`ostrelctl services` lists them"},
    {ostrelApi::NoSuchTarget, ExitStatus::NoService,
     "`ostrelctl services` shows the stores of each service"},
    {ostrelApi::DaemonTerminates, ExitStatus::DaemonOff, "try again when it runs"},
    {ostrelApi::DaemonOff, ExitStatus::DaemonOff, "is ostreld running?"},
    {ostrelApi::NoServerCertificate, ExitStatus::NoCertificate,
     "`ostrelctl server csr create` is the first step to one"},
    {ostrelApi::NoCsr, ExitStatus::NoCertificate, "`ostrelctl server csr create` creates one"},
    {ostrelApi::NoPrivateKey, ExitStatus::NoCertificate, lookAgain},
    {ostrelApi::BadCA, ExitStatus::NoCertificate, lookAgain},
    {ostrelApi::BadTrustedClient, ExitStatus::NoCertificate, lookAgain},
};

const CodeRow anyOther = {-1, ExitStatus::Refused, seeLog};

const int notOfTheCertificate[] = {ostrelApi::ActionFailed, ostrelApi::ApiLocked,
                                   ostrelApi::AccessDenied, ostrelApi::BadServiceId,
                                   ostrelApi::NoSuchTarget, ostrelApi::DaemonTerminates,
                                   ostrelApi::DaemonOff,    ostrelApi::NoCsr};

} // namespace

const CodeRow& rowOfCode(int code)
{
    const auto* const row = std::find_if(std::begin(rows), std::end(rows),
                                         [&](const CodeRow& each) { return each.code == code; });
    return row != std::end(rows) ? *row : anyOther;
}

bool isOfTheCertificate(int code)
{
    return std::find(std::begin(notOfTheCertificate), std::end(notOfTheCertificate), code) ==
           std::end(notOfTheCertificate);
}

} // namespace ostrelctl
