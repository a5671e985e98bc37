#include "commands/IdentityText.h"

#include "base/Refusal.h"

#include <fmt/format.h>

#include <stdexcept>
#include <string_view>

namespace ostreld
{

namespace
{

// Removes a number and a line feed from the start of `text`.
std::size_t takeNumber(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        throw std::runtime_error("slow work ended without a result");
    }
    const std::size_t number = std::stoul(std::string(text.substr(0, end)));
    text.remove_prefix(end + 1);
    return number;
}

std::string_view takeText(std::string_view& text)
{
    const std::size_t length = takeNumber(text);
    const std::string_view part = text.substr(0, length);
    text.remove_prefix(part.size());
    return part;
}

} // namespace

std::string packed(const std::function<Identity()>& make)
{
    try {
        const Identity made = make();
        std::string text;
        // A text that grows would leave copies of the key in freed memory.
        text.reserve(made.key.size() + made.pem.size() + made.network.size() + 100);
        text += "0\n";
        for (const std::string_view part :
             {made.key.view(), std::string_view(made.pem), std::string_view(made.network)}) {
            text += std::to_string(part.size()) + '\n';
            text += part;
        }
        return text;
    } catch (const Refusal& refusal) {
        return fmt::format("{}\n{}", static_cast<int>(refusal.code()), refusal.what());
    }
}

Identity unpacked(const std::string& text)
{
    std::string_view rest = text;
    const std::size_t code = takeNumber(rest);
    if (code != ActionSuccessful) {
        throw Refusal(static_cast<ReturnCode>(code), std::string(rest));
    }
    SecretText key(takeText(rest));
    std::string pem(takeText(rest));
    return {std::move(key), std::move(pem), std::string(takeText(rest))};
}

} // namespace ostreld
