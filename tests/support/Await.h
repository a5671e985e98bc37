#pragma once

#include <functional>
#include <string>

namespace support
{

/// Waits until `isReached`, which is asked anew at each change of the file or
/// directory `watched`; throws std::runtime_error, naming `what`, when that
/// takes so long that it never will.
void awaitChange(const std::string& watched, const std::string& what,
                 const std::function<bool()>& isReached);

/// Waits until there is no file `path`.
void awaitGone(const std::string& path);

} // namespace support
