#pragma once

// The key/value syntax of settings files, for a text in memory. The stream readers of
// ostrel/Tools.h read the rest of the stream and call these functions. docs/FILES.md has
// the grammar. No line is an error; the functions throw only std::bad_alloc.

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace ostrel
{

using KeyValueMap = std::map<std::string, std::string>;

/// `text` without its leading spaces, tabs and line feeds, as a view into it.
[[nodiscard]] std::string_view withoutLeadingBlanks(std::string_view text);

/// Key and value of a line, as views into it. A line without a space is both.
[[nodiscard]] std::pair<std::string_view, std::string_view> keyAndValueOf(std::string_view line);

/// The pairs of a configuration text: comments and the blanks around a line are removed,
/// lines without a space are skipped, and the first line of a key counts.
[[nodiscard]] KeyValueMap configMapOf(std::string_view text);

/// As configMapOf(), but "#" starts no comment and only the blanks before a value are
/// removed.
[[nodiscard]] KeyValueMap rawMapOf(std::string_view text);

/// The value of `key`, or an empty string.
[[nodiscard]] std::string valueOf(const KeyValueMap& map, const std::string& key);

} // namespace ostrel
