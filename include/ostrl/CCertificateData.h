#pragma once

#include <ostrel/Export.h>
#include <ostrl/CDistinguishedName.h>
#include <ostrl/v3Ext.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostrl
{

/// The record of one X.509 certificate, as the daemon sends it. Returned by
/// OstrelService::getCACertInfo() and its twins. A value: copies are independent. A
/// new record has the values of a self-signed certificate.
///
/// The text form has one field on each line: the key, one space and the value. No
/// value contains a line feed, and an empty line follows each extension:
///
///     public_key_size_bits 2048
///     cert_serial 2
///     ...
///     subject_name C=US, CN=web.example.com
///     v3Extention0 obj_id 2.5.29.19|short_name basicConstraints|...
///
/// docs/FILES.md has the grammar, and an example byte by byte.
///
/// Threads: several threads may read one object at once; a change needs exclusive
/// access. Blocking: waits for nothing. Errors: throws only std::bad_alloc; a line
/// that does not match is skipped.
class OSTREL_API CCertificateData
{
public:
    /// @{
    /// The values of a new record: "2" and "RSA".
    static const std::string DEFAULT_CERT_SERIAL;
    static const std::string DEFAULT_SIGN_ALGO_TYPE;
    /// @}

    /// @{
    /// The extensions of a self-signed authority, in the syntax of the configuration
    /// of signing requests. For the daemon.
    static const std::string CERTIFICATE_v3_EXT_BASIC_CONSTRAINTS;
    static const std::string CERTIFICATE_v3_EXT_KEY_USAGE;
    static const std::string CERTIFICATE_v3_EXT_SUB_KEY_IDENTIFIER;
    static const std::string CERTIFICATE_v3_EXT_NETSCAPE_CERT_TYPE;
    static const std::string CERTIFICATE_v3_EXT_NETSCAPE_COMMENT;
    /// @}

    /// The values at the members below.
    CCertificateData();

    /// Replaces `out` by the text form.
    void to(std::string& out);

    /// Sets the fields that `text` contains; the others keep their values. Adds
    /// extensions to those that the record has, in the byte order of their keys:
    /// number 10 comes before number 2. A date may be octal (0...) or hexadecimal
    /// (0x...).
    void from(const std::string& text);

    CDistinguishedName subjectName;               ///< subject_name
    CDistinguishedName issuerName;                ///< issuer_name
    std::int32_t publicKeySizeBits = 2048;        ///< public_key_size_bits
    std::string certSerial = DEFAULT_CERT_SERIAL; ///< cert_serial, usually decimal
    std::int32_t validityDays = 365;              ///< validity_days
    std::int32_t certVersion = 3;                 ///< cert_version
    std::vector<v3Ext> v3Extensions;              ///< v3Extention0, v3Extention1, ...
    /// signatureAlgorithm_type
    std::string signatureAlgorithmType = DEFAULT_SIGN_ALGO_TYPE;
    std::string publicKeyType;            ///< public_key_type
    std::uint64_t validNotBeforeDate = 0; ///< validNotBeforeDate, seconds since 1970 UTC
    std::uint64_t validNotAfterDate = 0;  ///< validNotAfterDate, seconds since 1970 UTC
    std::string publicKey;                ///< public_key, on one line
};

} // namespace ostrl
