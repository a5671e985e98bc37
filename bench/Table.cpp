#include "bench/Table.h"

#include <fmt/core.h>

#include <iterator>

namespace bench
{

namespace
{

using Times = std::map<std::string, double>;

/// The time for one entry, by size.
using Growth = std::map<std::size_t, double>;

// The time for one entry grows when the data no longer fits into a cache. Up to twice
// the time from one size to the next is explained by that.
constexpr double steadyGrowth = 2;

constexpr const char librarySide[] = "library";
constexpr const char rawSide[] = "raw";

std::string nameOf(const Subject& subject, const char* side)
{
    return fmt::format("{}/{}/{}", subject.what, subject.size, side);
}

std::string verdictOf(double ratio, double aim)
{
    if (aim == 0) {
        return "-";
    }
    return fmt::format("{:.2f}  {}", aim, ratio <= aim ? "within" : "MISSED");
}

void printRatio(const Subject& subject, double library, double raw)
{
    fmt::print("{:26} {:>8} {:>12.0f} {:>12.0f} {:>7.2f}  {}\n", subject.what, subject.size,
               library, raw, library / raw, verdictOf(library / raw, subject.aim));
}

// The growth of the rows that were measured at several sizes.
std::map<std::string, Growth> growthsOf(const std::vector<Row>& rows, const Times& times)
{
    std::map<std::string, Growth> growths;
    for (const Row& row : rows) {
        const auto size = static_cast<double>(row.subject.size);
        for (const char* side : {librarySide, rawSide}) {
            const auto time = times.find(nameOf(row.subject, side));
            if (time != times.end() && row.subject.size > 0) {
                growths[row.subject.what + ": " + side][row.subject.size] = time->second / size;
            }
        }
    }
    for (auto growth = growths.begin(); growth != growths.end();) {
        growth = growth->second.size() > 1 ? std::next(growth) : growths.erase(growth);
    }
    return growths;
}

void printGrowthOf(const std::string& what, const Growth& growth)
{
    fmt::print("{:36}", what);
    for (const auto& entry : growth) {
        fmt::print(" {:>9.1f} at {:<6}", entry.second, entry.first);
    }
    const double former = std::prev(growth.end(), 2)->second;
    fmt::print(" {}\n", growth.rbegin()->second <= steadyGrowth * former ? "linear" : "NOT LINEAR");
}

} // namespace

std::string libraryName(const Subject& subject)
{
    return nameOf(subject, librarySide);
}

std::string rawName(const Subject& subject)
{
    return nameOf(subject, rawSide);
}

void printRatios(const std::vector<Row>& rows, const Times& times)
{
    fmt::print("{:26} {:>8} {:>12} {:>12} {:>7}  {}\n", "what", "size", "library ns", "raw ns",
               "ratio", "aim");
    for (const Row& row : rows) {
        const auto library = times.find(libraryName(row.subject));
        const auto raw = times.find(rawName(row.subject));
        if (library != times.end() && raw != times.end()) {
            printRatio(row.subject, library->second, raw->second);
        }
    }
}

void printGrowth(const std::vector<Row>& rows, const Times& times)
{
    const auto growths = growthsOf(rows, times);
    fmt::print(growths.empty() ? "" : "\nns per entry\n");
    for (const auto& growth : growths) {
        printGrowthOf(growth.first, growth.second);
    }
}

void printFigures(const std::vector<Figure>& figures)
{
    fmt::print("\n");
    for (const Figure& figure : figures) {
        fmt::print("{:44} {:>9.3f} {:3}  {}\n", figure.what, figure.value, figure.unit,
                   verdictOf(figure.value, figure.aim));
    }
}

} // namespace bench
