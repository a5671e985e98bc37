#include "ReturnCodes.h"

#include <algorithm>
#include <iterator>

namespace ostrelctl
{

namespace
{

const char* const lookAgain = "the commands `list` and `services` show what there is";
const char* const seeLog = "the daemon's log tells more";

const CodeRow rows[] = {
    {ostrelApi::ActionFailed, ExitStatus::Failed, "--debug tells each step"},
    {ostrelApi::ApiLocked, ExitStatus::Locked, "try again, or wait with --wait SECONDS"},
    {ostrelApi::AccessDenied, ExitStatus::Denied,
     "the service's managment group may ask the daemon"},
    {ostrelApi::BadServiceId, ExitStatus::NoService, "`ostrelctl services` lists them"},
    {ostrelApi::NoSuchTarget, ExitStatus::NoService,
     "`ostrelctl services` shows what stores each one has"},
    {ostrelApi::DaemonTerminates, ExitStatus::DaemonOff, "try again when it runs"},
    {ostrelApi::DaemonOff, ExitStatus::DaemonOff, "is ostreld running?"},
    {ostrelApi::NoServerCertificate, ExitStatus::NoCertificate,
     "`ostrelctl server csr create` starts to get one"},
    {ostrelApi::NoCsr, ExitStatus::NoCertificate, "`ostrelctl server csr create` makes one"},
    {ostrelApi::NoPrivateKey, ExitStatus::NoCertificate, lookAgain},
    {ostrelApi::BadCA, ExitStatus::NoCertificate, lookAgain},
    {ostrelApi::BadTrustedClient, ExitStatus::NoCertificate, lookAgain},
};

const CodeRow anyOther = {-1, ExitStatus::Refused, seeLog};

const int ofTheWay[] = {ostrelApi::ActionFailed, ostrelApi::ApiLocked,
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
    return std::find(std::begin(ofTheWay), std::end(ofTheWay), code) == std::end(ofTheWay);
}

} // namespace ostrelctl
