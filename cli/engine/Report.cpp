#include "engine/Report.h"

#include "engine/Command.h"
#include "engine/Deadline.h"
#include "engine/PlainText.h"
#include "failure/Explain.h"

#include <nlohmann/json.hpp>

namespace ostrelctl
{

std::string lineOf(const Failure& failure, const Invocation& invocation)
{
    std::string line = "ostrelctl: ";
    if (invocation.command != nullptr) {
        line += invocation.path();
        line += invocation.subject.empty() ? ": " : ' ' + invocation.subject + ": ";
    }
    line += failure.what();
    if (!failure.next.empty()) {
        line += "; " + failure.next;
    }
    return plain(line);
}

Json jsonOf(const Failure& failure, const Invocation& invocation)
{
    Json error = {{"status", rowOf(failure.status).word},
                  {"exitStatus", static_cast<int>(failure.status)},
                  {"attempted", invocation.path()},
                  {"on", invocation.subject},
                  {"why", failure.what()},
                  {"next", failure.next}};
    if (failure.returnCode != 0) {
        error["returnCode"] = failure.returnCode;
    }
    if (!failure.candidates.empty()) {
        error["candidates"] = failure.candidates;
    }
    return error;
}

Failure failureInFlight(const Invocation& invocation)
{
    try {
        Deadline::check();
    } catch (const Failure& end) {
        return end;
    }
    return explained(invocation.service(), invocation.number("--wait"));
}

} // namespace ostrelctl
