#pragma once

#include <string>
#include <string_view>

namespace ostrelctl
{

/// A copy with question marks for control characters, for marks that turn or hide
/// text, and for bytes that are not UTF-8, so that a name in a certificate can
/// neither steer the terminal nor pass for another name.
std::string plain(std::string_view text);

/// The same for text of several lines: keeps line ends and tabs.
std::string plainLines(std::string_view text);

/// The number of characters of UTF-8 text.
std::size_t widthOf(std::string_view text);

/// The start of UTF-8 text, at most `width` characters of it; a tilde is the last
/// one where text was cut.
std::string clipped(const std::string& text, std::size_t width);

} // namespace ostrelctl
