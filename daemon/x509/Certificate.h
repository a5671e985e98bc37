#pragma once

#include "x509/OpenSsl.h"

#include <ostrl/CCertificateData.h>

#include <string>

namespace ostreld
{

/// One X.509 certificate, and what the daemon tells of it. Move-only.
class Certificate
{
public:
    /// The first certificate of a PEM text. Throws Refusal, "Bad certificate
    /// format", when there is none.
    explicit Certificate(const std::string& pem);

    /// The first 16 hexadecimal digits of the SHA-256 fingerprint.
    std::string id() const;

    /// The certificate as text: as it was given where that is plain PEM, so
    /// that it reads back equal to what went in.
    const std::string& pem() const { return m_pem; }

    /// The subject's last common name, on one line; empty when it has none.
    std::string commonName() const;

    /// Whether it may sign certificates.
    bool isCA() const;

    /// Whether its own key signed it.
    bool isSelfSigned() const { return X509_self_signed(m_x509.get(), 1) == 1; }

    /// The summary for the ".info" file: JSON, version 1.
    std::string info() const;

    /// The usual full text.
    std::string details() const;

    /// The record that answers "getcertinfo".
    ostrl::CCertificateData record() const;

    X509* get() const { return m_x509.get(); }

private:
    X509Pointer m_x509;
    std::string m_pem;
};

} // namespace ostreld
