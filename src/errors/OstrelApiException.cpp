#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/ReturnCode.h>

namespace ostrelApi
{

namespace
{

using Exception = OstrelApiException;

struct ErrorIdRow {
    Exception::ErrorId id;
    const char* text;
};

constexpr ErrorIdRow errorIds[] = {
    {Exception::GenericException, "Generic exception"},
    {Exception::TooManyCertificates, "Too many certificates"},
    {Exception::InvalidFileFormat, "Invalid file format"},
    {Exception::NotACertificate, "Not a certificate"},
    {Exception::NotACertificateAuthority, "Not a certificate authority"},
    {Exception::NoCsrPending, "No CSR pending"},
    {Exception::CsrMismatch, "CSR mismatch"},
    {Exception::AlreadyPresent, "Already present"},
    {Exception::OperationForbidden, "Operation forbidden"},
};

struct ReturnCodeRow {
    int code;
    const char* text;
    Exception::ErrorId id = Exception::GenericException;
};

// Intended: the texts are those of the daemon, including the misspellings.
constexpr ReturnCodeRow returnCodes[] = {
    {ActionSuccessful, "Action Successfull"},
    {ActionFailed, "Action Failed"},
    {ApiLocked, "Api is locked"},
    {AccessDenied, "Access denied", Exception::OperationForbidden},
    {BadCommand, "Bad command"},
    {CommandUnexpectedEnding, "Command unexpected ending"},
    {BadServiceId, "Bad service Id"},
    {NoSuchTarget, "This target doesn't exist for this service"},
    {BadConfiguration, "Bad configuration"},
    {BadCertificateFormat, "Bad certificate format", Exception::InvalidFileFormat},
    {DaemonTerminates, "Daemon terminate"},
    {DaemonOff, "Daemon is off"},
    {DaemonError, "Daemon error"},
    {AlreadyRunning, "Daemon is already running"},
    {ErrorDuringExternalCommand, "Error during external command execution"},
    {ErrorStartingHandler, "Error during start of handler"},
    {ErrorStartingTimer, "Error during start of timer"},
    {NoServerCertificate, "The server certificate doesn't exist"},
    {NoCsr, "The CSR doesn't exist", Exception::NoCsrPending},
    {NoPrivateKey, "The private key doesn't exist"},
    {CsrNotGood, "CSR not goof"},
    {ErrorDuringKeyGeneration, "Error during key generation"},
    {CnfNotGood, "CNF not good"},
    {CertificateAndCsrDiffer, "Certificate and CSR are not matching", Exception::CsrMismatch},
    {ErrorDuringSignature, "Error during certificate signature"},
    {ErrorDuringCsrGeneration, "Error during CSR generation"},
    {BadCA, "Bad CA"},
    {ErrorAddingCA, "Error adding CA"},
    {TooManyCAs, "Too many CA", Exception::TooManyCertificates},
    {CAExists, "The certificate authority already exist", Exception::AlreadyPresent},
    {BadTrustedClient, "Bad certificate for trusted client"},
    {ErrorAddingTrustedClient, "Error adding certificate for trusted client"},
    {TooManyTrustedClients, "Too many certificate for trusted client",
     Exception::TooManyCertificates},
    {TrustedClientExists, "The trusted client certificate already exist",
     Exception::AlreadyPresent},
};

constexpr ReturnCodeRow unknownReturnCode = {-1, "Unknown"};

const ReturnCodeRow& rowOf(int returnCode)
{
    for (const ReturnCodeRow& row : returnCodes) {
        if (row.code == returnCode) {
            return row;
        }
    }
    return unknownReturnCode;
}

} // namespace

OstrelApiException::OstrelApiException(ErrorId id)
    : errorId(id), message("Error " + std::to_string(id) + ": " + errorIdToString(id))
{
}

OstrelApiException::OstrelApiException(int returnCode) : OstrelApiException(rowOf(returnCode).id)
{
    message += " (" + std::to_string(returnCode) + " - " + globalOstrelMessage(returnCode) + ')';
}

OstrelApiException::~OstrelApiException() = default;

const char* OstrelApiException::what() const noexcept
{
    return message.c_str();
}

std::string OstrelApiException::getErrorMessage() const
{
    return message;
}

OstrelApiException::ErrorId OstrelApiException::getErrorId() const
{
    return errorId;
}

OstrelApiException::ErrorId OstrelApiException::returnCodeToErrorId(int returnCode) const
{
    return rowOf(returnCode).id;
}

std::string errorIdToString(int id)
{
    for (const ErrorIdRow& row : errorIds) {
        if (row.id == id) {
            return row.text;
        }
    }
    return "Unknown";
}

std::string globalOstrelMessage(int returnCode)
{
    return rowOf(returnCode).text;
}

} // namespace ostrelApi
