#pragma once

#include "tools/Descriptor.h"

#include <functional>
#include <string>

namespace support
{

/// Waits until `isReached` returns true. Calls it again at each change of the
/// file or directory `watched`. Throws std::runtime_error with `what` in its
/// text after 30 s without a change.
void awaitChange(const std::string& watched, const std::string& what,
                 const std::function<bool()>& isReached);

/// Waits until `descriptor` can be read. Throws std::runtime_error with `what`
/// in its text after 30 s.
void awaitReadable(const ostrel::Descriptor& descriptor, const std::string& what);

/// Waits until the file `path` does not exist.
void awaitGone(const std::string& path);

} // namespace support
