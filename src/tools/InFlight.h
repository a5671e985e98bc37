#pragma once

// Conversion of the exception in flight into a text of the caller. Callers prescribe one
// text for each of three tiers of exceptions, and no function of the library writes the
// three handlers itself. Any thread may call these functions.

#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ostrel
{

/// The texts of the three tiers. The caught exception's text is appended to the first two.
struct TierTexts {
    // Not inline: the code of three strings at each of many callers makes the library large.
    TierTexts(std::string_view firstText, std::string_view secondText,
              std::string_view genericText);
    TierTexts(const TierTexts&) = default;
    ~TierTexts();

    std::string first;
    std::string second;
    std::string generic;
};

/// The text of an exception; "Unknown error" when its what() is null.
[[nodiscard]] std::string textOf(const std::exception& caught);

/// Returns the text for the exception in flight, by its tier: a `First`, otherwise a
/// `Second`, otherwise any other. Call it only in a handler.
template <class First, class Second = std::exception>
[[nodiscard]] std::string describeInFlight(const TierTexts& texts)
{
    try {
        throw;
    } catch (const First& caught) {
        return texts.first + textOf(caught);
    } catch (const Second& caught) {
        return texts.second + textOf(caught);
    } catch (...) {
        return texts.generic;
    }
}

/// Runs `work` and returns its result. Any exception becomes a std::runtime_error with the
/// text of its tier.
template <class First, class Second = std::exception, class Work>
auto orRuntimeError(const TierTexts& texts, Work&& work) -> decltype(work())
{
    try {
        return work();
    } catch (...) {
        throw std::runtime_error(describeInFlight<First, Second>(texts));
    }
}

} // namespace ostrel
