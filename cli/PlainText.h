#pragma once

#include <string>
#include <string_view>

namespace ostrelctl
{

/// A copy whose control characters are question marks: what a certificate or a
/// file says must not steer the terminal.
std::string plain(std::string_view text);

/// How many characters UTF-8 text shows.
std::size_t widthOf(std::string_view text);

/// The start of UTF-8 text that shows as at most `width` characters; what was
/// cut ends in a tilde.
std::string clipped(const std::string& text, std::size_t width);

} // namespace ostrelctl
