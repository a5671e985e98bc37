#include "x509/Json.h"

#include "base/Utf8.h"

#include <fmt/format.h>

namespace ostreld
{

namespace
{

constexpr std::string_view escaped = "\"\\\b\f\n\r\t";
constexpr std::string_view escapes = "\"\\bfnrt";
constexpr std::string_view replacement = "\xef\xbf\xbd";

} // namespace

std::string jsonString(std::string_view text)
{
    std::string result = "\"";
    while (!text.empty()) {
        const CodePoint next = firstCodePoint(text);
        const std::size_t row = escaped.find(text[0]);
        if (row != std::string_view::npos) {
            result += {'\\', escapes[row]};
        } else if (next.value < ' ') {
            result += fmt::format("\\u{:04x}", static_cast<unsigned int>(next.value));
        } else {
            result += next.value == noCodePoint ? replacement : text.substr(0, next.length);
        }
        text.remove_prefix(next.length);
    }
    return result + '"';
}

std::string jsonList(const std::vector<std::string>& texts)
{
    std::string result;
    for (const std::string& text : texts) {
        result += (result.empty() ? "[\n    " : ",\n    ") + jsonString(text);
    }
    return result.empty() ? "[]" : result + "\n  ]";
}

} // namespace ostreld
