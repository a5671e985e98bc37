#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <exception>
#include <string>

/// What applications use: the service object, its exception, overrides.
namespace ostrelApi
{

/// What every failing operation of the public API throws: a coarse ErrorId for
/// programs to branch on, and a message that names it and, where there is one,
/// the daemon's return code with its text. For example, return code 33 reads
/// "Error 6: Already present (33 - The certificate authority already exist)".
///
/// The library uses the daemon's return codes for its own failures too: 1
/// "Action Failed", 7 "This target doesn't exist for this service". All of
/// them are in docs/PROTOCOL.md.
///
/// Threads: an object may be read from several threads at once. Building one
/// throws std::bad_alloc when memory is exhausted.
class OSTREL_API OstrelApiException : public std::exception
{
public:
    /// The categories, with the return codes that each one stands for.
    enum ErrorId : std::int32_t {
        GenericException = -1,        ///< Every code but these.
        TooManyCertificates = 0,      ///< 32, 42
        InvalidFileFormat = 1,        ///< 9
        NotACertificate = 2,          ///< None; for applications' own use.
        NotACertificateAuthority = 3, ///< None; for applications' own use.
        NoCsrPending = 4,             ///< 21
        CsrMismatch = 5,              ///< 26
        AlreadyPresent = 6,           ///< 33, 43
        OperationForbidden = 7,       ///< 3
    };

    /// From a category alone: "Error 6: Already present".
    OstrelApiException(ErrorId id);

    /// From a return code of the daemon, 0 to 43.
    OstrelApiException(int returnCode);

    ~OstrelApiException() override;

    /// The message; valid as long as the exception lives.
    const char* what() const noexcept override;

    /// A copy of the message.
    virtual std::string getErrorMessage() const;

    /// The category.
    ErrorId getErrorId() const;

    /// The category of a return code; GenericException for most of them.
    ErrorId returnCodeToErrorId(int returnCode) const;

private:
    ErrorId errorId;
    std::string message;
};

/// Text of an ErrorId; "Unknown" for any other number.
OSTREL_API std::string errorIdToString(int id);

/// The daemon's text of a return code; "Unknown" for any other number.
OSTREL_API std::string globalOstrelMessage(int returnCode);

} // namespace ostrelApi
