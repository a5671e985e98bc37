#pragma once

#include "engine/Command.h"

#include <unistd.h>

namespace ostrelctl
{

class TraceCapture;

/// What a running command works with.
struct Context {
    const Invocation& invocation;
    /// What the library said so far.
    const TraceCapture& trace;
    /// The file that is read at the moment: a failure looks at it for the reason.
    std::string path = {};
    /// What is done with it, as access() has it.
    int access = R_OK;

    std::string serviceName() const { return invocation.one("SERVICE"); }
};

} // namespace ostrelctl
