#pragma once

// How the program ends. The numbers do not change: scripts compare them.

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

/// A status with its word in the JSON of an error and its line in the help.
struct StatusRow {
    ExitStatus status;
    const char* word;
    const char* meaning;
};

extern const std::array<StatusRow, 11> statusRows;

const StatusRow& rowOf(ExitStatus status);

} // namespace ostrelctl
