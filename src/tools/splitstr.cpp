#include <ostrl/splitstr.h>

#include <string_view>

std::vector<std::string> splitstr(const std::string& text, char delimiter)
{
    std::vector<std::string> pieces;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = rest.find(delimiter);
        pieces.emplace_back(rest.substr(0, length));
        rest.remove_prefix(length == std::string_view::npos ? rest.size() : length + 1);
    }
    return pieces;
}
