#pragma once

// The slow work for a service's own certificate, which takes seconds on a small device. It
// uses no store and writes no file, so that it can run in a child process.

#include "base/SecretText.h"

#include <ostrel/ServiceConfiguration.h>

#include <cstdint>
#include <string>

namespace ostreld
{

/// A private key and what belongs to it.
struct Identity {
    SecretText key;
    /// The request or the certificate.
    std::string pem;
    /// The alternative names from the network settings, as lines.
    std::string network;
};

/// Makes a key and a signing request from a request configuration. Throws Refusal.
Identity makeRequest(const ostrel::ServiceConfiguration& service,
                     const std::string& configurationText, bool isCompliant);

/// Makes a key and a certificate that is signed with it and valid from now. Throws Refusal.
Identity makeSelfSigned(const ostrel::ServiceConfiguration& service,
                        const std::string& configurationText, std::uint32_t days);

} // namespace ostreld
