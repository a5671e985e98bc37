#include "base/Utf8.h"

#include <algorithm>
#include <cstdint>

namespace ostreld
{

namespace
{

// The first bytes of characters of one length, and the range of their second byte. The range
// excludes surrogates, overlong forms and values above U+10FFFF.
struct Lead {
    std::uint8_t first;
    std::uint8_t last;
    std::uint8_t length;
    std::uint8_t lowestSecond;
    std::uint8_t highestSecond;
};

constexpr Lead leads[] = {
    {0x00, 0x7f, 1, 0x00, 0x00}, {0xc2, 0xdf, 2, 0x80, 0xbf}, {0xe0, 0xe0, 3, 0xa0, 0xbf},
    {0xe1, 0xec, 3, 0x80, 0xbf}, {0xed, 0xed, 3, 0x80, 0x9f}, {0xee, 0xef, 3, 0x80, 0xbf},
    {0xf0, 0xf0, 4, 0x90, 0xbf}, {0xf1, 0xf3, 4, 0x80, 0xbf}, {0xf4, 0xf4, 4, 0x80, 0x8f},
};

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range hidden[] = {
    {0x00, 0x1f},     {0x7f, 0x9f},     {0x61c, 0x61c},   {0x200b, 0x200f},
    {0x2028, 0x202e}, {0x2060, 0x2069}, {0xfeff, 0xfeff}, {noCodePoint, noCodePoint},
};

} // namespace

CodePoint firstCodePoint(std::string_view text)
{
    const auto byte = [&](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const auto* lead = std::find_if(std::begin(leads), std::end(leads), [&](const Lead& row) {
        return row.first <= byte(0) && byte(0) <= row.last;
    });
    if (lead == std::end(leads)) {
        return {noCodePoint, 1};
    }
    char32_t value = byte(0) & (lead->length == 1 ? 0x7fU : 0x7fU >> lead->length);
    for (std::size_t at = 1; at < lead->length; ++at) {
        const std::uint8_t lowest = at == 1 ? lead->lowestSecond : 0x80;
        const std::uint8_t highest = at == 1 ? lead->highestSecond : 0xbf;
        if (at == text.size() || byte(at) < lowest || byte(at) > highest) {
            return {noCodePoint, at};
        }
        value = (value << 6) | (byte(at) & 0x3fU);
    }
    return {value, lead->length};
}

bool isHidden(char32_t character)
{
    return std::any_of(std::begin(hidden), std::end(hidden), [=](const Range& range) {
        return range.first <= character && character <= range.last;
    });
}

std::size_t replaceHidden(char* text, std::size_t length, char replacement)
{
    std::size_t kept = 0;
    for (std::size_t at = 0; at < length;) {
        const CodePoint next = firstCodePoint({text + at, length - at});
        if (isHidden(next.value)) {
            text[kept++] = replacement;
        } else {
            std::copy_n(text + at, next.length, text + kept);
            kept += next.length;
        }
        at += next.length;
    }
    return kept;
}

std::string withoutHidden(std::string text, char replacement)
{
    text.resize(replaceHidden(text.data(), text.size(), replacement));
    return text;
}

} // namespace ostreld
