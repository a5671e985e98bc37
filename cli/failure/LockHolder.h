#pragma once

#include <string>

namespace ostrelctl
{

/// The process that holds a flock() on the file, as "process 4711 (ostrelctl)";
/// empty where /proc/locks shows no such lock. Takes no lock itself.
std::string lockHolderOf(const std::string& path);

} // namespace ostrelctl
