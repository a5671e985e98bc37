#pragma once

#include <stdexcept>
#include <string>

namespace ostreld
{

/// The return codes that the daemon answers with.
enum ReturnCode : int {
    ActionSuccessful = 0,
    ActionFailed = 1,
    AccessDenied = 3,
    BadCommand = 4,
    CommandUnexpectedEnding = 5,
    NoSuchTarget = 7,
    BadConfiguration = 8,
    BadCertificateFormat = 9,
    DaemonTerminates = 10,
    DaemonError = 12,
    AlreadyRunning = 13,
    ErrorDuringExternalCommand = 14,
    NoServerCertificate = 20,
    NoCsr = 21,
    NoPrivateKey = 22,
    CsrNotGood = 23,
    ErrorDuringKeyGeneration = 24,
    CnfNotGood = 25,
    CertificateAndCsrDiffer = 26,
    ErrorDuringSignature = 27,
    ErrorDuringCsrGeneration = 28,
    BadCA = 30,
    ErrorAddingCA = 31,
    TooManyCAs = 32,
    CAExists = 33,
    BadTrustedClient = 40,
    ErrorAddingTrustedClient = 41,
    TooManyTrustedClients = 42,
    TrustedClientExists = 43,
};

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
