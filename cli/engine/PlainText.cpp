#include "engine/PlainText.h"

#include <algorithm>

namespace ostrelctl
{

namespace
{

bool isControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

bool isFirstByte(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
}

} // namespace

std::string plain(std::string_view text)
{
    std::string copy(text);
    std::replace_if(copy.begin(), copy.end(), isControl, '?');
    return copy;
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
