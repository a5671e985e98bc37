#pragma once

namespace ostrelApi
{

/// The daemon's return codes that the library itself raises or looks at.
enum ReturnCode : int {
    ActionSuccessful = 0,
    ActionFailed = 1,
    ApiLocked = 2,
    AccessDenied = 3,
    NoSuchTarget = 7,
    DaemonOff = 11,
    NoServerCertificate = 20,
    NoCsr = 21,
    BadCA = 30,
    BadTrustedClient = 40,
};

} // namespace ostrelApi
