#pragma once

#include <ostrelApi/OstrelApiException.h>

#include <string>

namespace ostrelApi
{

/// The type of every OstrelApiException that the library throws. It adds what
/// the fixed message leaves out: the return code as a number, what the daemon
/// answered, and the reason.
///
///     try {
///         web.addCA(pem);
///     } catch (const ostrelApi::CallError& error) {
///         error.getReturnCode();       // 1: addCA() reports every failure as ActionFailed
///         error.getDaemonReturnCode(); // 33, CAExists
///         error.getReason();           // "already there"
///     }
///
/// Threads: an object may be read from several threads at once.
class OSTREL_API CallError : public OstrelApiException
{
public:
    /// A return code of ReturnCode.h, a reason of one line, and the return code
    /// that the daemon answered; 0 where it did not answer. Throws
    /// std::bad_alloc.
    CallError(int returnCode, const std::string& reason, int daemonReturnCode = 0);

    ~CallError() override;

    /// The return code that the call failed with.
    int getReturnCode() const;

    /// The return code of the daemon's reply; 0 where the daemon did not reply.
    /// It differs from getReturnCode() where an import folds every failure into
    /// ActionFailed (1).
    int getDaemonReturnCode() const;

    /// One line for people: the step that failed and its file, with the system's
    /// text of errno, or the daemon's words behind its return code. May be empty.
    const std::string& getReason() const;

private:
    int m_returnCode;
    int m_daemonReturnCode;
    std::string m_reason;
};

} // namespace ostrelApi
