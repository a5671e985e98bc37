#pragma once

// What a script is told by the program's end. The numbers are frozen: scripts
// compare them.

#include <array>

namespace ostrelctl
{

enum class ExitStatus : int {
    Done = 0,
    Failed = 1,
    Usage = 2,
    Locked = 3,
    Denied = 4,
    NoService = 5,
    NoCertificate = 6,
    DaemonOff = 7,
    Refused = 8,
    TimeOut = 9,
    RenewalDue = 10,
};

/// One status for the manual, and the word for it in an error's JSON.
struct StatusRow {
    ExitStatus status;
    const char* word;
    const char* meaning;
};

extern const std::array<StatusRow, 11> statusRows;

const StatusRow& rowOf(ExitStatus status);

} // namespace ostrelctl
