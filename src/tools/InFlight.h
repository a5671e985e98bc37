#pragma once

// Catch and convert: what a `catch (...)` holds is turned into the text that
// the caller prescribes for it. Every conversion of the library goes through
// here, so no function spells out the three tiers by hand.

#include <exception>
#include <stdexcept>
#include <string>

namespace ostrel
{

/// The texts of the three tiers. The first two are followed by the caught
/// exception's own text.
struct TierTexts {
    std::string first;
    std::string second;
    std::string generic;
};

/// The caught exception's text, "Unknown error" when it carries none.
inline std::string textOf(const std::exception& caught)
{
    const char* text = caught.what();
    return text != nullptr ? text : "Unknown error";
}

/// Says what is in flight, by tier: a `First`, else a `Second`, else anything.
/// Call it only while an exception is being handled.
template <class First, class Second = std::exception>
std::string describeInFlight(const TierTexts& texts)
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

/// Runs `work`; whatever it throws becomes a std::runtime_error with the text
/// of its tier.
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
