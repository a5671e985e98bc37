#pragma once

// The line files of a store: how one is opened, read and written, and the text
// of the error when that fails.

#include "tools/Descriptor.h"

#include <string>
#include <vector>

namespace ostrel
{

/// The text of the list file `path`.
std::string readListFile(const std::string& path);

/// The ids of the list file `path`, ascending, each once.
std::vector<std::string> readIds(const std::string& path);

/// Sorts `ids` byte-wise and drops repetitions.
void makeAscendingAndUnique(std::vector<std::string>& ids);

/// Opens `path` for writing and empties it.
Descriptor createListFile(const std::string& path);

/// Writes one line at once.
void writeListLine(const Descriptor& file, const std::string& line);

} // namespace ostrel
