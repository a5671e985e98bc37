#pragma once

#include <mutex>

namespace ostreld
{

/// Held while a child of the daemon still has copies of its descriptors. Who
/// has to know that a descriptor it closes is closed indeed holds it meanwhile.
inline std::mutex spawning;

} // namespace ostreld
