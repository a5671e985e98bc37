#include "engine/Nearest.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace ostrelctl
{

namespace
{

// Levenshtein's distance, with one row of his table at a time.
std::size_t distance(const std::string& from, const std::string& to)
{
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t changed = diagonal + (from[i] == to[j] ? 0U : 1U);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::string nearestOf(const std::string& mistyped, const std::vector<std::string>& words)
{
    std::string nearest;
    std::size_t fewest = std::max<std::size_t>(mistyped.size(), 3) / 3 + 1;
    for (const std::string& word : words) {
        const std::size_t changes = distance(mistyped, word);
        if (changes < fewest) {
            fewest = changes;
            nearest = word;
        }
    }
    return nearest;
}

} // namespace ostrelctl
