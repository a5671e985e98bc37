#pragma once

#include "x509/OpenSsl.h"

#include <ostrl/CCertificateData.h>

#include <cstdint>
#include <string>

namespace ostreld
{

/// The validity of a certificate in seconds since 1970 UTC; 0 for an earlier time.
struct Validity {
    std::int64_t from;
    std::int64_t until;

    /// Whether it is valid at `now` and for `margin` more seconds.
    bool covers(std::int64_t now, std::int64_t margin) const
    {
        return from <= now && now + margin < until;
    }
};

/// One X.509 certificate and its texts. Each function that returns a text throws Refusal,
/// "Bad certificate format", if it cannot describe the certificate completely. Move-only.
class Certificate
{
public:
    /// Reads the first certificate of a PEM text. Throws Refusal, "Bad certificate format".
    explicit Certificate(const std::string& pem);

    /// The first 16 hexadecimal digits of the SHA-256 fingerprint.
    std::string id() const;

    /// The certificate as text. If the given text is plain PEM, it is returned unchanged.
    const std::string& pem() const { return m_pem; }

    /// The last common name of the subject, on one line; empty if it has none.
    std::string commonName() const;

    /// Whether it may sign certificates.
    bool isCA() const;

    /// Whether it is signed with its own key.
    bool isSelfSigned() const;

    Validity validity() const;

    /// The summary for the ".info" file: JSON, version 1.
    std::string info() const;

    /// The text that `openssl x509 -text` prints, not longer than the daemon reads of a file.
    std::string details() const;

    /// The record for the reply to "getcertinfo".
    ostrl::CCertificateData record() const;

    /// Null if OpenSSL does not know this kind of key.
    const EVP_PKEY* publicKey() const { return m_key; }

private:
    X509Pointer m_x509;
    EVP_PKEY* m_key;
    std::string m_pem;
};

/// Throws Refusal with the code `otherwise` if one of the certificate's texts is missing.
void requireDescribable(const Certificate& certificate, ReturnCode otherwise);

} // namespace ostreld
