#pragma once

#include "x509/OpenSsl.h"

#include <ostrl/CCSRData.h>

#include <string>

namespace ostreld
{

/// A signing request that is pending. Move-only.
class SigningRequest
{
public:
    /// Reads PEM text; throws Refusal, "CSR not goof", when it is none.
    explicit SigningRequest(const std::string& pem);

    /// The key that it asks to be certified.
    const EVP_PKEY* publicKey() const { return X509_REQ_get0_pubkey(m_request.get()); }

    /// The record that answers "getcsrinfo".
    ostrl::CCSRData record() const;

private:
    RequestPointer m_request;
};

} // namespace ostreld
