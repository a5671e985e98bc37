#include "Explain.h"

#include "Deadline.h"
#include "LockHolder.h"
#include "ReturnCodes.h"
#include "TraceCapture.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>
#include <ostrel/Tools.h>
#include <ostrelApi/CallError.h>

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

namespace ostrelctl
{

namespace
{

std::string lockPathOf(const Context& context)
{
    const std::string name = context.serviceName();
    return name.empty() ? "" : OstrelService(name).getLockPath();
}

Failure withCode(int code, const std::string& why)
{
    const CodeRow& row = rowOfCode(code);
    Failure failure(row.status, why, row.next);
    failure.returnCode = code;
    return failure;
}

Failure locked(const Context& context)
{
    const std::string holder = lockHolderOf(lockPathOf(context));
    const int waited = context.invocation.number("--wait");
    return withCode(ostrelApi::ApiLocked,
                    "the service is locked" + (holder.empty() ? "" : " by " + holder) +
                        (waited == 0 ? "" : fmt::format(", for {} s now", waited)));
}

Failure denied(const Context& context)
{
    const ostrel::ServiceConfiguration configuration(context.serviceName());
    Failure failure = withCode(ostrelApi::AccessDenied, "access denied to " + lockPathOf(context));
    failure.next = fmt::format("is this user, {}, in the group {}?", ostrel::Tools::getUserName(),
                               configuration.m_managmentGroup);
    return failure;
}

Failure daemonOff(const Context& context)
{
    const std::string lock = lockPathOf(context);
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
Failure failed(const Context& context)
{
    if (!context.path.empty() && ::access(context.path.c_str(), context.access) != 0) {
        const int error = errno;
        const bool isDenied = error == EACCES || error == EPERM;
        Failure failure = withCode(isDenied ? ostrelApi::AccessDenied : ostrelApi::ActionFailed,
                                   context.path + ": " + std::strerror(error));
        failure.returnCode = ostrelApi::ActionFailed;
        return failure;
    }
    const std::string reason = context.trace.reason();
    return withCode(ostrelApi::ActionFailed,
                    reason.empty() ? ostrelApi::globalOstrelMessage(ostrelApi::ActionFailed)
                                   : reason);
}

Failure ofCode(const Context& context, int code)
{
    switch (code) {
    case ostrelApi::ActionFailed:
        return failed(context);
    case ostrelApi::ApiLocked:
        return locked(context);
    case ostrelApi::AccessDenied:
        return denied(context);
    case ostrelApi::DaemonOff:
        return daemonOff(context);
    default:
        return withCode(code, ostrelApi::globalOstrelMessage(code));
    }
}

} // namespace

Failure explained(const Context& context)
{
    try {
        // Whatever a signal brought about is called by its name.
        Deadline::check();
        throw;
    } catch (const Failure& failure) {
        return failure;
    } catch (const ostrelApi::CallError& caught) {
        return ofCode(context, caught.getReturnCode());
    } catch (const std::exception& caught) {
        return {ExitStatus::Failed, caught.what(), "--debug tells each step"};
    }
}

} // namespace ostrelctl
