#pragma once

#include <string>

namespace support
{

/// While it lives, open() of a file whose name ends in `suffix` creates the file
/// and then calls `fail`, which throws. For a program of its own: it replaces
/// open().
class FailingOpen
{
public:
    enum File { LeaveFile, LeaveNoFile };

    FailingOpen(const std::string& suffix, void (*fail)(), File file = LeaveFile);
    ~FailingOpen();
    FailingOpen(const FailingOpen&) = delete;
    FailingOpen& operator=(const FailingOpen&) = delete;

    /// The file that failed last.
    std::string path() const;
};

} // namespace support
