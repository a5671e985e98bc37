#pragma once

#include "bench/Row.h"

#include <map>

namespace bench
{

/// The benchmark names of the two sides of a row.
std::string libraryName(const Subject& subject);
std::string rawName(const Subject& subject);

/// Prints the ratio of every row whose two sides were measured.
void printRatios(const std::vector<Row>& rows, const std::map<std::string, double>& times);

/// Prints the time for one entry of the rows that were measured at several sizes.
void printGrowth(const std::vector<Row>& rows, const std::map<std::string, double>& times);

} // namespace bench
