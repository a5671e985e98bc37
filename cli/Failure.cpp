#include "Failure.h"

#include "Command.h"
#include "PlainText.h"

#include <fmt/format.h>

namespace ostrelctl
{

namespace
{

std::string attemptOf(const Invocation& invocation)
{
    return invocation.command != nullptr ? invocation.command->path : "";
}

} // namespace

std::string lineOf(const Failure& failure, const Invocation& invocation)
{
    std::string line = "ostrelctl: ";
    if (invocation.command != nullptr) {
        line += attemptOf(invocation);
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
                  {"attempted", attemptOf(invocation)},
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

} // namespace ostrelctl
