#pragma once

#include <string>
#include <system_error>

namespace ostrel
{

/// The system's text for an errno value, as strerror() gives it.
inline std::string errorText(int error)
{
    return std::generic_category().message(error);
}

} // namespace ostrel
