#pragma once

// Texts that are safe to show on a terminal: UTF-8 without characters that act on it.

#include <cstddef>
#include <string>
#include <string_view>

namespace ostreld
{

/// One character of a UTF-8 text, and its length in bytes.
struct CodePoint {
    char32_t value;
    std::size_t length;
};

/// Stands for bytes that are not UTF-8.
constexpr char32_t noCodePoint = 0xffffffff;

/// The character at the start of `text`, which must not be empty. Bytes that are not UTF-8
/// count as one character as far as they could be the start of one.
CodePoint firstCodePoint(std::string_view text);

/// Whether a terminal does not show a character: controls, line separators, directional
/// marks, characters without a width, and bytes that are not UTF-8.
bool isHidden(char32_t character);

/// Replaces each hidden character in the `length` bytes at `text`, and returns the new
/// length.
std::size_t replaceHidden(char* text, std::size_t length, char replacement);

/// The same for a whole text.
std::string withoutHidden(std::string text, char replacement);

} // namespace ostreld
