#pragma once

#include <string>

namespace ostreld
{

/// The names of the daemon's processes in `ps` and `top`.
class ProcessName
{
public:
    /// Takes the arguments of main(): the kernel reads the name from their memory.
    ProcessName(int argc, char* argv[]);

    /// Renames this process. Moves the environment, so call it only right after a fork.
    void set(const std::string& name) const;

private:
    char* const m_begin;
    char* m_end;
};

} // namespace ostreld
