#include "failure/Explain.h"

#include "failure/LockHolder.h"
#include "failure/ReturnCodes.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>
#include <ostrel/Tools.h>
#include <ostrelApi/CallError.h>
#include <ostrelApi/OstrelService.h>

#include <fmt/format.h>

#include <cerrno>

namespace ostrelctl
{

namespace
{

using ostrelApi::CallError;

std::string lockPathOf(const std::string& service)
{
    return service.empty() ? "" : ostrelApi::OstrelService(service).getLockPath();
}

Failure withCode(int code, const std::string& why)
{
    const CodeRow& row = rowOfCode(code);
    Failure failure(row.status, why, row.next);
    failure.returnCode = code;
    return failure;
}

Failure locked(const std::string& service, int waited)
{
    const std::string holder = lockHolderOf(lockPathOf(service));
    return withCode(ostrelApi::ApiLocked,
                    "the service is locked" + (holder.empty() ? "" : " by " + holder) +
                        (waited == 0 ? "" : fmt::format(", for {} s now", waited)));
}

Failure denied(const std::string& service)
{
    const ostrel::ServiceConfiguration configuration(service);
    Failure failure = withCode(ostrelApi::AccessDenied, "access denied to " + lockPathOf(service));
    failure.next = fmt::format("is this user, {}, in the group {}?", ostrel::Tools::getUserName(),
                               configuration.m_managmentGroup);
    return failure;
}

Failure daemonOff(const std::string& service)
{
    const std::string lock = lockPathOf(service);
    if (lock.empty()) {
        return withCode(ostrelApi::DaemonOff,
                        "daemon is off: nobody reads " +
                            ostrel::DaemonConfiguration::getNamePipesDirectory() +
                            "/notification.signal");
    }
    const bool isThere = ostrel::Tools::fileExist(lock);
    return withCode(ostrelApi::DaemonOff, isThere ? "daemon is off: nobody serves " + lock
                                                  : "daemon is off: no lock file " + lock);
}

// The library's return code for a file without access is ActionFailed (1).
Failure failed(const CallError& error)
{
    const bool isDenied = error.getSystemError() == EACCES || error.getSystemError() == EPERM;
    Failure failure =
        withCode(isDenied ? ostrelApi::AccessDenied : ostrelApi::ActionFailed,
                 error.getReason().empty() ? ostrelApi::globalOstrelMessage(ostrelApi::ActionFailed)
                                           : error.getReason());
    failure.returnCode = ostrelApi::ActionFailed;
    return failure;
}

Failure ofOtherCode(int code, const std::string& reason)
{
    const std::string message = ostrelApi::globalOstrelMessage(code);
    return withCode(code, reason.empty() ? message : message + ": " + reason);
}

Failure failureOf(const CallError& error, const std::string& service, int waited)
{
    const int daemonCode = error.getDaemonReturnCode();
    const int code = daemonCode != 0 ? daemonCode : error.getReturnCode();
    switch (code) {
    case ostrelApi::ActionFailed:
        return failed(error);
    case ostrelApi::ApiLocked:
        return locked(service, waited);
    case ostrelApi::AccessDenied:
        return denied(service);
    case ostrelApi::DaemonOff:
        return daemonOff(service);
    default:
        return ofOtherCode(code, error.getReason());
    }
}

} // namespace

Failure explained(const std::string& service, int waited)
{
    try {
        throw;
    } catch (const Failure& failure) {
        return failure;
    } catch (const CallError& caught) {
        return failureOf(caught, service, waited);
    } catch (const std::exception& caught) {
        return {ExitStatus::Failed, caught.what(), "--debug prints each step"};
    }
}

} // namespace ostrelctl
