#pragma once

#include "failure/Failure.h"

namespace ostrelctl
{

class TraceCapture;

/// What a failed command was about.
struct Attempt {
    /// Its service; empty for a command without one.
    std::string service;
    /// Seconds that it waited for the lock.
    int waited;
    const std::string& path;
    int access;
    const TraceCapture& trace;
};

/// The exception that is being handled, in words: every exception of the library
/// is turned into a failure here.
Failure explained(const Attempt& attempt);

} // namespace ostrelctl
