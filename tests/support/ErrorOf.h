#pragma once

#include <stdexcept>
#include <string>

namespace support
{

/// The text of the std::runtime_error that `work` throws; empty when it throws
/// nothing. Any other exception passes.
template <class Work>
std::string errorOf(Work work)
{
    try {
        work();
        return "";
    } catch (const std::runtime_error& caught) {
        return caught.what();
    }
}

} // namespace support
