#include "engine/PlainText.h"

#include <algorithm>
#include <iterator>

namespace ostrelctl
{

namespace
{

constexpr std::size_t mostBytes = 4;

struct Range {
    char32_t first;
    char32_t last;
};

// Controls, marks that turn the direction of text, separators of lines, and characters
// that cannot be seen: with them a name can pass for another one.
constexpr Range masked[] = {{0x00, 0x1f},     {0x7f, 0x9f},     {0x61c, 0x61c},   {0x180e, 0x180e},
                            {0x200b, 0x200f}, {0x2028, 0x202e}, {0x2060, 0x206f}, {0xfeff, 0xfeff}};

bool isMasked(char32_t code)
{
    return std::any_of(std::begin(masked), std::end(masked), [code](const Range& range) {
        return range.first <= code && code <= range.last;
    });
}

bool isContinuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// The number of bytes of the character that begins with `lead`; 0 where none does.
std::size_t lengthOf(unsigned char lead)
{
    return lead < 0x80   ? 1
           : lead < 0xC2 ? 0
           : lead < 0xE0 ? 2
           : lead < 0xF0 ? 3
           : lead < 0xF5 ? 4
                         : 0;
}

bool isCode(char32_t code, std::size_t length)
{
    constexpr char32_t smallest[mostBytes + 1] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = 0xD800 <= code && code <= 0xDFFF;
    return smallest[length] <= code && code <= 0x10FFFF && !isSurrogate;
}

struct Character {
    std::size_t length;
    bool isShown;
};

/// The character that `text` begins with, or the one byte that is not UTF-8.
Character firstOf(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lengthOf(lead);
    const std::string_view rest = text.substr(1, std::max<std::size_t>(length, 1) - 1);
    if (length == 0 || rest.size() + 1 != length ||
        !std::all_of(rest.begin(), rest.end(), isContinuation)) {
        return {1, false};
    }
    char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
    for (const char c : rest) {
        code = (code << 6U) | (static_cast<unsigned char>(c) & 0x3FU);
    }
    return isCode(code, length) ? Character{length, !isMasked(code)} : Character{1, false};
}

/// The number of bytes at the start of `text` that lay out a text of several lines.
std::size_t layoutLength(std::string_view text)
{
    if (text.substr(0, 2) == "\r\n") {
        return 2;
    }
    return text.front() == '\n' || text.front() == '\t' ? 1 : 0;
}

/// A masked character becomes one question mark, and so does a byte that is not UTF-8.
std::string maskedText(std::string_view text, bool hasLayout)
{
    std::string copy;
    while (!text.empty()) {
        const std::size_t layout = hasLayout ? layoutLength(text) : 0;
        const Character next = layout != 0 ? Character{layout, true} : firstOf(text);
        copy += next.isShown ? text.substr(0, next.length) : "?";
        text.remove_prefix(next.length);
    }
    return copy;
}

bool isFirstByte(char c)
{
    return !isContinuation(c);
}

} // namespace

std::string plain(std::string_view text)
{
    return maskedText(text, false);
}

std::string plainLines(std::string_view text)
{
    return maskedText(text, true);
}

std::size_t widthOf(std::string_view text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isFirstByte));
}

std::string clipped(const std::string& text, std::size_t width)
{
    if (widthOf(text) <= width) {
        return text;
    }
    std::string start;
    std::size_t count = 0;
    for (const char c : text) {
        count += isFirstByte(c) ? 1U : 0U;
        if (count >= width) {
            break;
        }
        start += c;
    }
    return start + '~';
}

} // namespace ostrelctl
