#pragma once

// The entries of "id_cn.map" texts, by id and by common name (CN). A text is read once
// and searched as views: a look-up in a large map builds no map.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ostrel
{

/// An id and its CN, as views into the text. They are valid as long as the text.
using IdCnLine = std::pair<std::string_view, std::string_view>;

/// Returns the entries of a text by ascending id. The first line of an id counts.
[[nodiscard]] std::vector<IdCnLine> idCnLinesOf(std::string_view text);

/// Returns the ids of the entries with the CN `cn`, ascending.
[[nodiscard]] std::vector<std::string> idsByCN(std::string_view text, std::string_view cn);

} // namespace ostrel
