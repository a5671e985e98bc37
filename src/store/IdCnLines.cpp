#include "store/IdCnLines.h"

#include "tools/KeyValueText.h"
#include "tools/TextFile.h"

#include <algorithm>
#include <optional>

namespace ostrel
{

namespace
{

/// Visits the entries in the order of the lines until `visit` returns false. Returns
/// whether it reached the end.
template <class Visit>
bool visitEntries(std::string_view text, Visit visit)
{
    for (TextLines lines(text); !lines.isAtEnd();) {
        const std::string_view line = lines.next();
        if (line.find(' ') != std::string_view::npos && !visit(keyAndValueOf(line))) {
            return false;
        }
    }
    return true;
}

bool hasSmallerId(const IdCnLine& a, const IdCnLine& b)
{
    return a.first < b.first;
}

bool hasSameId(const IdCnLine& a, const IdCnLine& b)
{
    return a.first == b.first;
}

bool isOutOfOrder(const IdCnLine& a, const IdCnLine& b)
{
    return !hasSmallerId(a, b);
}

// Looks `cn` up in one pass that keeps only the last entry. Returns false when the lines
// are not in order: then a later line could repeat an id.
bool takeInOrder(std::string_view text, std::string_view cn, std::vector<std::string>& ids)
{
    std::optional<IdCnLine> former;
    return visitEntries(text, [&](const IdCnLine& entry) {
        if (former && isOutOfOrder(*former, entry)) {
            return false;
        }
        former = entry;
        if (entry.second == cn) {
            ids.emplace_back(entry.first);
        }
        return true;
    });
}

} // namespace

std::vector<IdCnLine> idCnLinesOf(std::string_view text)
{
    std::vector<IdCnLine> lines;
    visitEntries(text, [&](const IdCnLine& entry) {
        lines.push_back(entry);
        return true;
    });
    // The daemon writes the lines in order, so the check usually saves the sorting.
    if (std::adjacent_find(lines.begin(), lines.end(), isOutOfOrder) != lines.end()) {
        std::stable_sort(lines.begin(), lines.end(), hasSmallerId);
        lines.erase(std::unique(lines.begin(), lines.end(), hasSameId), lines.end());
    }
    return lines;
}

std::vector<std::string> idsByCN(std::string_view text, std::string_view cn)
{
    std::vector<std::string> ids;
    if (!takeInOrder(text, cn, ids)) {
        ids.clear();
        for (const IdCnLine& line : idCnLinesOf(text)) {
            if (line.second == cn) {
                ids.emplace_back(line.first);
            }
        }
    }
    return ids;
}

} // namespace ostrel
