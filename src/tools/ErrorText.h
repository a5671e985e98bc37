#pragma once

#include <string>
#include <system_error>

namespace ostrel
{

/// The system's text of an errno value. Unlike strerror(), any thread may call it.
[[nodiscard]] inline std::string errorText(int error)
{
    return std::generic_category().message(error);
}

} // namespace ostrel
