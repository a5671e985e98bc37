#pragma once

#include <string>

namespace support
{

/// While the object lives, open() of a file whose name ends in `suffix` creates
/// the file and then calls `fail`, which throws. Link it only into a program of
/// its own, because it replaces open().
class FailingOpen
{
public:
    enum File { LeaveFile, LeaveNoFile };

    FailingOpen(const std::string& suffix, void (*fail)(), File file = LeaveFile);
    ~FailingOpen();
    FailingOpen(const FailingOpen&) = delete;
    FailingOpen& operator=(const FailingOpen&) = delete;

    /// The path of the last file that failed.
    std::string path() const;
};

} // namespace support
