#pragma once

#include <stdexcept>
#include <string>

namespace ostrelApi
{

/// A failure whose fixed text goes into the trace, and whose reason goes into the
/// CallError that replaces it.
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
