#pragma once

#include <string>

namespace ostrelctl
{

/// Who holds a flock() on the file: "process 4711 (ostrelctl)"; empty when
/// nobody in sight does. Asks the kernel and takes no lock itself.
std::string lockHolderOf(const std::string& path);

} // namespace ostrelctl
