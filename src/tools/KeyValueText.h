#pragma once

// The key/value syntax of every settings file, over text held in memory; the
// stream readers of ostrel/Tools.h are these on what the stream still holds.

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace ostrel
{

using KeyValueMap = std::map<std::string, std::string>;

/// `text` without its leading spaces, tabs and line feeds.
std::string_view withoutLeadingBlanks(std::string_view text);

/// Key and value of a line, as views into it.
std::pair<std::string_view, std::string_view> keyAndValueOf(std::string_view line);

/// The pairs of a configuration text: cleaned lines, first occurrence wins.
KeyValueMap configMapOf(std::string_view text);

/// The pairs of a raw text: no comments, no trimming, first occurrence wins.
KeyValueMap rawMapOf(std::string_view text);

/// The value of `key`, or an empty string.
std::string valueOf(const KeyValueMap& map, const std::string& key);

} // namespace ostrel
