#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <exception>
#include <string>

/// What applications use: the service object, its exception, overrides.
namespace ostrelApi
{

/// The base class of what the public API throws, for applications that branch on
/// a coarse category, the ErrorId. Its message names the category and, if the
/// failure has a return code, that code with its text. The message of CAExists
/// (33) is "Error 6: Already present (33 - The certificate authority already
/// exist)".
///
/// The library itself throws CallError (CallError.h), a subclass that also has the
/// return code as a number and a reason. The library uses the daemon's return
/// codes for its own failures too; ReturnCode.h names them all, and
/// docs/PROTOCOL.md shows their texts.
///
///     } catch (const ostrelApi::OstrelApiException& error) {
///         if (error.getErrorId() == ostrelApi::OstrelApiException::AlreadyPresent) ...
///
/// Threads: several threads may read one object at once. Blocking: waits for
/// nothing. Errors: constructors and getErrorMessage() may throw std::bad_alloc.
class OSTREL_API OstrelApiException : public std::exception
{
public:
    /// The categories, with the return codes that belong to each.
    enum ErrorId : std::int32_t {
        GenericException = -1,        ///< Every return code that is not listed here.
        TooManyCertificates = 0,      ///< TooManyCAs (32), TooManyTrustedClients (42).
        InvalidFileFormat = 1,        ///< BadCertificateFormat (9).
        NotACertificate = 2,          ///< No return code; for applications' own use.
        NotACertificateAuthority = 3, ///< No return code; for applications' own use.
        NoCsrPending = 4,             ///< NoCsr (21).
        CsrMismatch = 5,              ///< CertificateAndCsrDiffer (26).
        AlreadyPresent = 6,           ///< CAExists (33), TrustedClientExists (43).
        OperationForbidden = 7,       ///< AccessDenied (3).
    };

    /// From a category alone: "Error 6: Already present".
    OstrelApiException(ErrorId id);

    /// From a return code of ReturnCode.h. Any other number is a GenericException
    /// with the text "Unknown".
    OstrelApiException(int returnCode);

    ~OstrelApiException() override;

    /// The message; valid until the exception is destroyed.
    const char* what() const noexcept override;

    /// A copy of the message.
    virtual std::string getErrorMessage() const;

    /// The category.
    ErrorId getErrorId() const;

    /// The category of a return code, which need not be this exception's own.
    ErrorId returnCodeToErrorId(int returnCode) const;

private:
    ErrorId errorId;
    std::string message;
};

/// The text of an ErrorId; "Unknown" for any other number. Any thread may call it;
/// may throw std::bad_alloc.
OSTREL_API std::string errorIdToString(int id);

/// The daemon's text of a return code; "Unknown" for any other number. The texts are
/// part of the protocol (docs/PROTOCOL.md). Any thread may call it; may throw
/// std::bad_alloc.
OSTREL_API std::string globalOstrelMessage(int returnCode);

} // namespace ostrelApi
