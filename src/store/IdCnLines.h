#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel
{

/// An id and its CN, as views into the text of an "id_cn.map" file.
using IdCnLine = std::pair<std::string_view, std::string_view>;

/// The entries of such a text by ascending id, one for each id: the first.
std::vector<IdCnLine> idCnLinesOf(std::string_view text);

/// The ids of those entries that have the CN `cn`, ascending.
std::vector<std::string> idsByCN(std::string_view text, std::string_view cn);

} // namespace ostrel
