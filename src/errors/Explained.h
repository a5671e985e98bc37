#pragma once

#include "errors/Fail.h"

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
    Explained(const std::string& text, Reason why)
        : std::runtime_error(text), reason(std::move(why))
    {
    }

    const Reason reason;
};

} // namespace ostrelApi
