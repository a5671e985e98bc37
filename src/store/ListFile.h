#pragma once

// The line files of a store, "list.txt" and "id_cn.map": opening, reading and writing.
// The functions that open a file throw std::runtime_error with one fixed text. Intended:
// a later read or write error is not reported.

#include "tools/Descriptor.h"

#include <string>
#include <vector>

namespace ostrel
{

/// Returns the text of the file `path`. Throws when it cannot be opened.
[[nodiscard]] std::string readListFile(const std::string& path);

/// Returns the ids of the list file `path`, ascending, each once. Throws when it cannot
/// be opened.
[[nodiscard]] std::vector<std::string> readIds(const std::string& path);

/// Sorts `ids` byte by byte and removes repetitions.
void makeAscendingAndUnique(std::vector<std::string>& ids);

/// Opens `path` for writing. Creates an absent file, empties an existing one. Throws when
/// it cannot be opened.
[[nodiscard]] Descriptor createListFile(const std::string& path);

/// Writes `line` and a line feed by one write.
void writeListLine(const Descriptor& file, const std::string& line);

} // namespace ostrel
