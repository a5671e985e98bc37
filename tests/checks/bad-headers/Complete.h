#pragma once

#include <string>

inline std::string complete()
{
    return {};
}
