#pragma once

// What the daemon's return codes are to the program: one row for each.

#include "ExitStatus.h"

#include <ostrelApi/ReturnCode.h>

namespace ostrelctl
{

struct CodeRow {
    int code;
    ExitStatus status;
    /// What to do next.
    const char* next;
};

/// The row of a code; one that has none of its own is a refusal.
const CodeRow& rowOfCode(int code);

/// Whether a code speaks of the certificate that was handed over, and not of
/// the way to the daemon: the next one may fare better.
bool isOfTheCertificate(int code);

} // namespace ostrelctl
