#include "store/IdCnLines.h"

#include "config/ConfigText.h"
#include "tools/TextFile.h"

#include <algorithm>

namespace ostrel
{

namespace
{

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

} // namespace

std::vector<IdCnLine> idCnLinesOf(std::string_view text)
{
    std::vector<IdCnLine> entries;
    for (TextLines lines(text); !lines.isAtEnd();) {
        const std::string_view line = lines.next();
        if (line.find(' ') != std::string_view::npos) {
            entries.push_back(keyAndValueOf(line));
        }
    }
    // A map file is in order already, and then nothing is to be done.
    if (std::adjacent_find(entries.begin(), entries.end(), isOutOfOrder) != entries.end()) {
        std::stable_sort(entries.begin(), entries.end(), hasSmallerId);
        entries.erase(std::unique(entries.begin(), entries.end(), hasSameId), entries.end());
    }
    return entries;
}

} // namespace ostrel
