#include "tools/InFlight.h"

namespace ostrel
{

TierTexts::TierTexts(std::string_view firstText, std::string_view secondText,
                     std::string_view genericText)
    : first(firstText), second(secondText), generic(genericText)
{
}

TierTexts::~TierTexts() = default;

std::string textOf(const std::exception& caught)
{
    const char* text = caught.what();
    return text != nullptr ? text : "Unknown error";
}

} // namespace ostrel
