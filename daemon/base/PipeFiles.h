#pragma once

// The directory of a service's pipes, where clients make and leave what they like.

#include "tools/Descriptor.h"

#include <string>

#include <sys/types.h>

namespace ostreld
{

/// The group may open these for writing and no more.
constexpr mode_t groupWritesMode = 0620;

/// `descriptor`, if it is open; otherwise fails for `attempt` on `what`.
ostrel::Descriptor requireOpen(ostrel::Descriptor descriptor, const std::string& attempt,
                               const std::string& what);

/// Whether `error` is a lack of what the machine may have again in a moment.
bool isShortage(int error);

/// Whether anything has the name `path`.
bool isThere(const std::string& path);

/// Removes whatever has the name `path`, a full directory too, and follows no
/// link; a missing one is no failure. True when the name is free: what of a
/// directory cannot be removed is logged, and lies under another name.
bool freeName(const std::string& path);

/// Removes what freeName() had to leave for `path` before.
void removeSetAside(const std::string& path);

/// Removes what has the name `path` unless it is of this type and the daemon's alone:
/// while no daemon runs, a client can put a file of its own there.
void removeUnlessOwn(const std::string& path, mode_t type);

} // namespace ostreld
