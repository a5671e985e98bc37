#include "failure/Explain.h"

#include "failure/LockHolder.h"
#include "failure/ReturnCodes.h"
#include "failure/TraceCapture.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>
#include <ostrel/Tools.h>
#include <ostrelApi/CallError.h>
#include <ostrelApi/OstrelService.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace ostrelctl
{

namespace
{

std::string lockPathOf(const Attempt& attempt)
{
    const std::string name = attempt.service;
    return name.empty() ? "" : ostrelApi::OstrelService(name).getLockPath();
}

Failure withCode(int code, const std::string& why)
{
    const CodeRow& row = rowOfCode(code);
    Failure failure(row.status, why, row.next);
    failure.returnCode = code;
    return failure;
}

Failure locked(const Attempt& attempt)
{
    const std::string holder = lockHolderOf(lockPathOf(attempt));
    const int waited = attempt.waited;
    return withCode(ostrelApi::ApiLocked,
                    "the service is locked" + (holder.empty() ? "" : " by " + holder) +
                        (waited == 0 ? "" : fmt::format(", for {} s now", waited)));
}

Failure denied(const Attempt& attempt)
{
    const ostrel::ServiceConfiguration configuration(attempt.service);
    Failure failure = withCode(ostrelApi::AccessDenied, "access denied to " + lockPathOf(attempt));
    failure.next = fmt::format("is this user, {}, in the group {}?", ostrel::Tools::getUserName(),
                               configuration.m_managmentGroup);
    return failure;
}

Failure daemonOff(const Attempt& attempt)
{
    const std::string lock = lockPathOf(attempt);
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

// Return code 1 says nothing; the file that was read may, and the trace.
Failure failed(const Attempt& attempt)
{
    if (!attempt.path.empty() && ::access(attempt.path.c_str(), attempt.access) != 0) {
        const int error = errno;
        const bool isDenied = error == EACCES || error == EPERM;
        Failure failure = withCode(isDenied ? ostrelApi::AccessDenied : ostrelApi::ActionFailed,
                                   attempt.path + ": " + std::strerror(error));
        failure.returnCode = ostrelApi::ActionFailed;
        return failure;
    }
    const std::string reason = attempt.trace.reason();
    return withCode(ostrelApi::ActionFailed,
                    reason.empty() ? ostrelApi::globalOstrelMessage(ostrelApi::ActionFailed)
                                   : reason);
}

Failure ofCode(const Attempt& attempt, int code)
{
    switch (code) {
    case ostrelApi::ActionFailed:
        return failed(attempt);
    case ostrelApi::ApiLocked:
        return locked(attempt);
    case ostrelApi::AccessDenied:
        return denied(attempt);
    case ostrelApi::DaemonOff:
        return daemonOff(attempt);
    default:
        return withCode(code, ostrelApi::globalOstrelMessage(code));
    }
}

} // namespace

Failure explained(const Attempt& attempt)
{
    try {
        throw;
    } catch (const Failure& failure) {
        return failure;
    } catch (const ostrelApi::CallError& caught) {
        return ofCode(attempt, caught.getReturnCode());
    } catch (const std::exception& caught) {
        return {ExitStatus::Failed, caught.what(), "--debug prints each step"};
    }
}

} // namespace ostrelctl
