#pragma once

#include "x509/OpenSsl.h"

#include <ostrl/CCSRData.h>

#include <string>

namespace ostreld
{

/// A pending signing request. Move-only.
class SigningRequest
{
public:
    /// Reads PEM text; throws Refusal, "CSR not goof".
    explicit SigningRequest(const std::string& pem);

    /// The key that the request is for.
    const EVP_PKEY* publicKey() const { return m_key; }

    /// The record for the reply to "getcsrinfo".
    ostrl::CCSRData record() const;

private:
    RequestPointer m_request;
    EVP_PKEY* m_key;
};

} // namespace ostreld
