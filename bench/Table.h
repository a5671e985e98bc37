#pragma once

#include "bench/Row.h"

#include <map>

namespace bench
{

/// One measured value that is no ratio.
struct Figure {
    std::string what;
    double value;
    std::string unit;
    /// The largest value that is the aim.
    double aim;
};

/// The benchmark names of the two sides of a row.
std::string libraryName(const Subject& subject);
std::string rawName(const Subject& subject);

/// Prints the ratio of every row whose two sides were measured.
void printRatios(const std::vector<Row>& rows, const std::map<std::string, double>& times);

/// Prints the time for one entry of the rows that were measured at several sizes.
void printGrowth(const std::vector<Row>& rows, const std::map<std::string, double>& times);

/// Prints each value and whether it meets its aim.
void printFigures(const std::vector<Figure>& figures);

} // namespace bench
