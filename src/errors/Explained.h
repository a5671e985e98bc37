#pragma once

#include <stdexcept>
#include <string>

namespace ostrelApi
{

/// A failure with two texts: what() is the fixed text for the trace, and `reason` goes
/// into the CallError that replaces this exception. The fixed text must not change, and
/// does not contain the text of errno.
class Explained : public std::runtime_error
{
public:
    Explained(const std::string& text, std::string why)
        : std::runtime_error(text), reason(std::move(why))
    {
    }

    const std::string reason;
};

} // namespace ostrelApi
