#pragma once

#include <string>
#include <vector>

namespace bench
{

/// The exit status of a program that is started with an empty environment, its
/// standard output in the file `outputPath`.
int statusOf(const std::vector<std::string>& words, const std::string& outputPath = "/dev/null");

} // namespace bench
