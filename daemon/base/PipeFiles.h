#pragma once

// Files in the directory of a service's pipes, where clients can create and leave any file.

#include "tools/Descriptor.h"

#include <string>

#include <sys/types.h>

namespace ostreld
{

/// The group may write into such a file, and nothing else.
constexpr mode_t groupWritesMode = 0620;

/// Returns `descriptor` if it is open; otherwise throws with errno, `attempt` and `what`.
ostrel::Descriptor requireOpen(ostrel::Descriptor descriptor, const std::string& attempt,
                               const std::string& what);

/// Whether `error` is a shortage that may end soon.
bool isShortage(int error);

/// A name that opens this file again, even if its own name belongs to another file.
std::string pathOf(const ostrel::Descriptor& file);

/// Whether a file, of any type, has the name `path`.
bool isThere(const std::string& path);

/// Removes the file or the whole directory `path` and follows no link. Returns whether the
/// name is free. A directory that cannot be removed, or not in a bounded time, is logged and
/// stays under another name.
bool freeName(const std::string& path);

/// Removes the directories that freeName(path) has renamed.
void removeSetAside(const std::string& path);

/// Removes `path` unless it has this type and belongs to the daemon alone: while no daemon
/// runs, a client can create a file there.
void removeUnlessOwn(const std::string& path, mode_t type);

/// Whether an open file has this type (S_IFIFO ...) and belongs to the daemon alone.
bool isOwn(const ostrel::Descriptor& file, mode_t type);

/// Opens the FIFO (S_IFIFO) or regular file (S_IFREG) `path` with `flags`, and creates it if
/// it does not exist. Removes anything that does not belong to the daemon alone. Throws
/// std::runtime_error if that fails several times.
ostrel::Descriptor openOwn(const std::string& path, mode_t type, int flags);

} // namespace ostreld
