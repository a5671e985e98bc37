#pragma once

#include <string>
#include <string_view>

namespace ostrelctl
{

/// A copy with question marks for control characters, so that a name in a
/// certificate cannot steer the terminal.
std::string plain(std::string_view text);

/// The number of characters of UTF-8 text.
std::size_t widthOf(std::string_view text);

/// The start of UTF-8 text, at most `width` characters of it; a tilde is the last
/// one where text was cut.
std::string clipped(const std::string& text, std::size_t width);

} // namespace ostrelctl
