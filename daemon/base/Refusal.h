#pragma once

#include <ostrelApi/ReturnCode.h>

#include <stdexcept>
#include <string>

namespace ostreld
{

// Library and daemon use the same codes.
using namespace ostrelApi;

/// Why the daemon refuses a request: the return code, and the reason for reply and log.
class Refusal : public std::runtime_error
{
public:
    Refusal(ReturnCode code, const std::string& reason) : std::runtime_error(reason), m_code(code)
    {
    }
    ReturnCode code() const { return m_code; }

private:
    ReturnCode m_code;
};

} // namespace ostreld
