#pragma once

#include <string>

namespace support
{

/// What a test wants in a certificate. Each certificate has its own serial
/// number; all certificates of one process have the same key.
struct TestCertificate {
    std::string commonName = "Test CA";
    bool isCA = true;
    /// The common name of the issuer. Empty: self-signed.
    std::string issuer = {};
    /// In the syntax of OpenSSL's configuration files: "DNS:a.example,
    /// IP:192.0.2.1".
    std::string alternativeNames = {};
    std::string notBefore = "20200101000000Z";
    std::string notAfter = "20400101000000Z";
    /// The length of a comment that makes the certificate larger.
    std::size_t padding = 0;
    /// The length of the serial number, filled with bytes 0x55. 0: the next
    /// number.
    int serialBytes = 0;
    /// The signing request, PEM, that supplies the public key. Empty: the key
    /// of this process.
    std::string request = {};

    /// Makes the certificate and returns it as PEM text.
    std::string pem() const;
};

/// The first 16 hexadecimal digits of the SHA-256 fingerprint, computed by
/// OpenSSL.
std::string fingerprintId(const std::string& pem);

/// The certificate that an authority issues for a signing request.
std::string certificateFor(const std::string& request);

/// Whether a private key belongs to a certificate, both PEM.
bool isKeyOf(const std::string& certificatePem, const std::string& keyPem);

} // namespace support
