#pragma once

#include "tools/ErrorText.h"

#include <cerrno>
#include <stdexcept>

namespace ostrelApi
{

/// Thrown when a signal handler interrupts the wait for the reply. Applications see a
/// std::runtime_error with the text of EINTR. The type of its own lets an import
/// distinguish it from a failure, which becomes ActionFailed (1).
class Interrupted : public std::runtime_error
{
public:
    Interrupted() : std::runtime_error(ostrel::errorText(EINTR)) {}
};

} // namespace ostrelApi
