#include <ostrelApi/CallError.h>

namespace ostrelApi
{

CallError::CallError(int returnCode, const std::string& reason, int daemonReturnCode,
                     int systemError)
    : OstrelApiException(returnCode), m_returnCode(returnCode),
      m_daemonReturnCode(daemonReturnCode), m_systemError(systemError), m_reason(reason)
{
}

CallError::~CallError() = default;

int CallError::getReturnCode() const
{
    return m_returnCode;
}

int CallError::getDaemonReturnCode() const
{
    return m_daemonReturnCode;
}

const std::string& CallError::getReason() const
{
    return m_reason;
}

int CallError::getSystemError() const
{
    return m_systemError;
}

} // namespace ostrelApi
