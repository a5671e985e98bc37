#include <ostrelApi/OstrelApiException.h>

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

// Intended: the texts stand as the daemon writes them, misspellings included.
constexpr ReturnCodeRow returnCodes[] = {
    {0, "Action Successfull"},
    {1, "Action Failed"},
    {2, "Api is locked"},
    {3, "Access denied", Exception::OperationForbidden},
    {4, "Bad command"},
    {5, "Command unexpected ending"},
    {6, "Bad service Id"},
    {7, "This target doesn't exist for this service"},
    {8, "Bad configuration"},
    {9, "Bad certificate format", Exception::InvalidFileFormat},
    {10, "Daemon terminate"},
    {11, "Daemon is off"},
    {12, "Daemon error"},
    {13, "Daemon is already running"},
    {14, "Error during external command execution"},
    {15, "Error during start of handler"},
    {16, "Error during start of timer"},
    {20, "The server certificate doesn't exist"},
    {21, "The CSR doesn't exist", Exception::NoCsrPending},
    {22, "The private key doesn't exist"},
    {23, "CSR not goof"},
    {24, "Error during key generation"},
    {25, "CNF not good"},
    {26, "Certificate and CSR are not matching", Exception::CsrMismatch},
    {27, "Error during certificate signature"},
    {28, "Error during CSR generation"},
    {30, "Bad CA"},
    {31, "Error adding CA"},
    {32, "Too many CA", Exception::TooManyCertificates},
    {33, "The certificate authority already exist", Exception::AlreadyPresent},
    {40, "Bad certificate for trusted client"},
    {41, "Error adding certificate for trusted client"},
    {42, "Too many certificate for trusted client", Exception::TooManyCertificates},
    {43, "The trusted client certificate already exist", Exception::AlreadyPresent},
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
