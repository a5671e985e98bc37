#pragma once

#include <string>

namespace support
{

/// A certificate to be made: what a test wants to be in it. Each one that is
/// made has a serial number of its own; the key is one for the whole process.
struct TestCertificate {
    std::string commonName = "Test CA";
    bool isCA = true;
    /// Its issuer's common name; itself when empty.
    std::string issuer = {};
    /// As OpenSSL's configuration files have them: "DNS:a.example, IP:192.0.2.1".
    std::string alternativeNames = {};
    std::string notBefore = "20200101000000Z";
    std::string notAfter = "20400101000000Z";
    /// So many bytes are put into a comment.
    std::size_t padding = 0;
    /// The length of its serial number, of bytes 0x55; the next number when 0.
    int serialBytes = 0;
    /// A signing request, PEM, whose public key it is for; this process's own
    /// key when empty.
    std::string request = {};

    /// Makes it, as PEM text.
    std::string pem() const;
};

/// The first 16 hexadecimal digits of the SHA-256 fingerprint, by OpenSSL.
std::string fingerprintId(const std::string& pem);

/// What an authority makes of a signing request.
std::string certificateFor(const std::string& request);

/// Whether a private key, PEM, is the one that a certificate is for.
bool isKeyOf(const std::string& certificatePem, const std::string& keyPem);

} // namespace support
