#pragma once

#include <string>

namespace ostrelctl
{

/// One line on the standard error stream that says what the command waits for. It is
/// for terminals only, and is removed at its end.
class Progress
{
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Replaces the line.
    void show(const std::string& text) const;

private:
    const bool m_isTerminal;
};

} // namespace ostrelctl
