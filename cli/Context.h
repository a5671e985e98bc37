#pragma once

#include "Command.h"
#include "Stores.h"
#include "Terminal.h"

#include <unistd.h>

namespace ostrelctl
{

class TraceCapture;

/// What a running command works with.
struct Context {
    const Invocation& invocation;
    /// Where progress goes.
    Terminal errors;
    /// What the library said so far.
    const TraceCapture& trace;
    /// The file that is read at the moment: a failure looks at it for the reason.
    std::string path = {};
    /// What is done with it, as access() has it.
    int access = R_OK;

    const Store& store() const { return *invocation.command->store; }
    std::string serviceName() const { return invocation.one("SERVICE"); }
};

/// The service that the command line names. Throws Failure when there is none.
OstrelService openService(const std::string& name);

} // namespace ostrelctl
