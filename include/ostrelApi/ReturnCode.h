#pragma once

namespace ostrelApi
{

/// The outcomes of a call, for applications that branch on more than an
/// OstrelApiException::ErrorId, and for the daemon. They are the return codes of the
/// daemon's replies (docs/PROTOCOL.md). The library also throws some of them
/// without a reply: 1, 2, 3, 7, 11, 20, 21, 30 and 40. globalOstrelMessage() returns
/// the text of each.
///
///     } catch (const ostrelApi::CallError& error) {
///         if (error.getReturnCode() == ostrelApi::DaemonOff) ...
///
/// They are numbers: no threads, ownership or errors to consider.
enum ReturnCode : int {
    ActionSuccessful = 0,
    ActionFailed = 1,                ///< A failure without its own code; any failed import.
    ApiLocked = 2,                   ///< Another caller is in a call to the same service.
    AccessDenied = 3,                ///< Refused; most often not in the managment group.
    BadCommand = 4,                  ///< The message is not a command, or its arguments do not fit.
    CommandUnexpectedEnding = 5,     ///< The message is empty.
    BadServiceId = 6,                ///< A service of that name does not exist.
    NoSuchTarget = 7,                ///< The service has no such store.
    BadConfiguration = 8,            ///< The service's configuration does not allow it.
    BadCertificateFormat = 9,        ///< The file does not contain a certificate.
    DaemonTerminates = 10,           ///< The daemon ends, or ended during the call.
    DaemonOff = 11,                  ///< No daemon serves this service.
    DaemonError = 12,                ///< A failure inside the daemon; its log says more.
    AlreadyRunning = 13,             ///< Exit status of a second daemon.
    ErrorDuringExternalCommand = 14, ///< A hook of the service failed.
    ErrorStartingHandler = 15,       ///< The daemon cannot serve the service.
    ErrorStartingTimer = 16,         ///< The daemon cannot start a timer.
    NoServerCertificate = 20,        ///< The server certificate does not exist.
    NoCsr = 21,                      ///< No signing request is pending.
    NoPrivateKey = 22,               ///< The private key does not exist.
    CsrNotGood = 23,                 ///< The pending request cannot be read.
    ErrorDuringKeyGeneration = 24,   ///< The daemon could not create a key.
    CnfNotGood = 25,                 ///< The configuration of requests (CNF) is invalid.
    CertificateAndCsrDiffer = 26,    ///< The certificate belongs to another key.
    ErrorDuringSignature = 27,       ///< The daemon could not sign a certificate.
    ErrorDuringCsrGeneration = 28,   ///< The daemon could not create a signing request.
    BadCA = 30,                      ///< The certificate is not a CA, or the CA does not exist.
    ErrorAddingCA = 31,              ///< The daemon could not store the CA.
    TooManyCAs = 32,                 ///< The CA store is full.
    CAExists = 33,                   ///< The CA is in the store already.
    BadTrustedClient = 40,           ///< The certificate is bad, or the client does not exist.
    ErrorAddingTrustedClient = 41,   ///< The daemon could not store the trusted client.
    TooManyTrustedClients = 42,      ///< The store of trusted clients is full.
    TrustedClientExists = 43,        ///< The trusted client is in the store already.
};

} // namespace ostrelApi
