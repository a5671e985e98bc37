#pragma once

#include "tools/ErrorText.h"

#include <cerrno>
#include <stdexcept>

namespace ostrelApi
{

/// Thrown when a signal interrupts the wait for the reply. Callers see a
/// std::runtime_error with the text of EINTR; inside the library the type tells
/// an interruption from a failure.
class Interrupted : public std::runtime_error
{
public:
    Interrupted() : std::runtime_error(ostrel::errorText(EINTR)) {}
};

} // namespace ostrelApi
