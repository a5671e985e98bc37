#pragma once

namespace ostrelApi
{

/// The daemon's return codes, as its replies carry them: for programs that
/// branch on more than an OstrelApiException::ErrorId, and for the daemon itself.
/// globalOstrelMessage() has the text of each. The library raises some of them
/// on its own account: 1, 2, 3, 7, 11, 20, 21, 30 and 40.
enum ReturnCode : int {
    ActionSuccessful = 0,
    ActionFailed = 1,                ///< Whatever has no code of its own.
    ApiLocked = 2,                   ///< Another program is in a call to the same service.
    AccessDenied = 3,                ///< The service's management group alone may call.
    BadCommand = 4,                  ///< A message that is no command, or lacks arguments.
    CommandUnexpectedEnding = 5,     ///< An empty message.
    BadServiceId = 6,                ///< No service of that name.
    NoSuchTarget = 7,                ///< The service has no such store.
    BadConfiguration = 8,            ///< The service's configuration does not allow it.
    BadCertificateFormat = 9,        ///< A file that is not a certificate.
    DaemonTerminates = 10,           ///< The daemon ends, or ended within the call.
    DaemonOff = 11,                  ///< No daemon serves this service.
    DaemonError = 12,                ///< The daemon's own failure; its log tells more.
    AlreadyRunning = 13,             ///< A second daemon; its exit status.
    ErrorDuringExternalCommand = 14, ///< A hook of the service failed.
    ErrorStartingHandler = 15,       ///< The daemon cannot serve a service.
    ErrorStartingTimer = 16,         ///< The daemon cannot keep time.
    NoServerCertificate = 20,        ///< No server certificate is in use.
    NoCsr = 21,                      ///< No signing request is pending.
    NoPrivateKey = 22,               ///< The key is missing.
    CsrNotGood = 23,                 ///< The pending request cannot be read.
    ErrorDuringKeyGeneration = 24,   ///< No key could be made.
    CnfNotGood = 25,                 ///< The request's configuration is at fault.
    CertificateAndCsrDiffer = 26,    ///< The certificate is for another key.
    ErrorDuringSignature = 27,       ///< A certificate could not be signed.
    ErrorDuringCsrGeneration = 28,   ///< A request could not be made.
    BadCA = 30,                      ///< Not a CA, or no such CA.
    ErrorAddingCA = 31,              ///< A CA could not be stored.
    TooManyCAs = 32,                 ///< The CA store is full.
    CAExists = 33,                   ///< The CA is there already.
    BadTrustedClient = 40,           ///< No such trusted client, or a bad certificate.
    ErrorAddingTrustedClient = 41,   ///< A trusted client could not be stored.
    TooManyTrustedClients = 42,      ///< The store of trusted clients is full.
    TrustedClientExists = 43,        ///< The trusted client is there already.
};

} // namespace ostrelApi
