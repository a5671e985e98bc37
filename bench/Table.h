#pragma once

#include "bench/Row.h"

#include <map>

namespace bench
{

/// The names under which the sides of a row are measured.
std::string libraryName(const Subject& subject);
std::string rawName(const Subject& subject);

/// Prints the ratio of every row of which both sides were measured.
void printRatios(const std::vector<Row>& rows, const std::map<std::string, double>& times);

/// Prints, for what was measured at several sizes, the time of each entry.
void printGrowth(const std::vector<Row>& rows, const std::map<std::string, double>& times);

} // namespace bench
