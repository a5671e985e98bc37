#pragma once

#include <string>
#include <vector>

namespace bench
{

/// Runs a program with an empty environment and its standard output in the file
/// `outputPath`, and returns its exit status.
int statusOf(const std::vector<std::string>& words, const std::string& outputPath = "/dev/null");

} // namespace bench
