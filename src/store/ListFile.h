#pragma once

// The line files of a store: how one is opened, read and written, and the text
// of the error when that fails.

#include "tools/Descriptor.h"

#include <string>

namespace ostrel
{

/// The text of the list file `path`.
std::string readListFile(const std::string& path);

/// Opens `path` for writing anew.
Descriptor createListFile(const std::string& path);

/// Writes one line at once.
void writeListLine(const Descriptor& file, const std::string& line);

} // namespace ostrel
