#pragma once

#include <ostrelApi/ReturnCode.h>

#include <stdexcept>
#include <string>

namespace ostreld
{

// The codes are the library's and the daemon's alike.
using namespace ostrelApi;

/// Why a request is not carried out: the return code for the client, and the
/// reason for the log.
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
