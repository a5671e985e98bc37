#pragma once

#include <ostrelApi/OstrelApiException.h>

#include <string>

namespace ostrelApi
{

/// The type of every OstrelApiException that the library throws, for applications
/// that need more than an ErrorId. It adds what the fixed message leaves out: the
/// return code as a number, the return code that the daemon sent, the reason, and
/// the value of errno.
/// Return codes have names in ReturnCode.h.
///
///     try {
///         web.addCA(pem);
///     } catch (const ostrelApi::CallError& error) {
///         error.getReturnCode();       // 1: addCA() reports every failure as ActionFailed
///         error.getDaemonReturnCode(); // 33, CAExists
///         error.getReason();           // "already there"
///     }
///
/// Threads: several threads may read one object at once. Blocking: waits for
/// nothing. Errors: only the constructor and copies throw, std::bad_alloc.
class OSTREL_API CallError : public OstrelApiException
{
public:
    /// A return code of ReturnCode.h, a reason of one line, the return code that
    /// the daemon sent, or 0 if it sent none, and the errno value of a failed system
    /// call, or 0. what() and getErrorMessage() are made from `returnCode` alone.
    CallError(int returnCode, const std::string& reason, int daemonReturnCode = 0,
              int systemError = 0);

    ~CallError() override;

    /// The return code that the call failed with.
    int getReturnCode() const;

    /// The return code of the daemon's reply; 0 if the daemon sent none, or if
    /// the call failed for another reason. It differs from getReturnCode() after
    /// an import, which reports every failure as ActionFailed (1).
    int getDaemonReturnCode() const;

    /// One line for people, without a line feed. It names the step that failed and
    /// its file, with the system's text of errno, or it is the text that the daemon
    /// sent after its return code. May be empty.
    const std::string& getReason() const;

    /// The errno value of the system call that failed, such as EACCES; 0 if the
    /// call failed for another reason.
    int getSystemError() const;

private:
    int m_returnCode;
    int m_daemonReturnCode;
    int m_systemError;
    std::string m_reason;
};

} // namespace ostrelApi
