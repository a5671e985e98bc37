#pragma once

// The exit status and the advice for each of the daemon's return codes.

#include "failure/ExitStatus.h"

#include <ostrelApi/ReturnCode.h>

namespace ostrelctl
{

struct CodeRow {
    int code;
    ExitStatus status;
    /// What to do next.
    const char* next;
};

/// The row of a code; a code without a row is a refusal.
const CodeRow& rowOfCode(int code);

/// Whether the daemon refused this one certificate: the next may be accepted.
bool isOfTheCertificate(int code);

} // namespace ostrelctl
