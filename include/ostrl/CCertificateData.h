#pragma once

#include <ostrel/Export.h>
#include <ostrl/CDistinguishedName.h>
#include <ostrl/v3Ext.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostrl
{

/// The description of one X.509 certificate, as the daemon answers it. A
/// value, which starts with what a self-signed certificate is made with.
///
/// Its text form holds one field on each line, the key, one space and the
/// value; values are single-line, and each extension is followed by an empty
/// line:
///
///     public_key_size_bits 2048
///     cert_serial 2
///     ...
///     subject_name C=US, CN=web.example.com
///     v3Extention0 obj_id 2.5.29.19|short_name basicConstraints|...
///
/// docs/FILES.md has the grammar, and an example byte by byte.
///
/// Threads: as any value. Errors: nothing but std::bad_alloc; a line that does
/// not fit is skipped.
class OSTREL_API CCertificateData
{
public:
    /// @{
    /// What a record starts with: "2" and "RSA".
    static const std::string DEFAULT_CERT_SERIAL;
    static const std::string DEFAULT_SIGN_ALGO_TYPE;
    /// @}

    /// @{
    /// Extension values of a self-signed authority, in the syntax of OpenSSL's
    /// configuration files, for the daemon's use.
    static const std::string CERTIFICATE_v3_EXT_BASIC_CONSTRAINTS;
    static const std::string CERTIFICATE_v3_EXT_KEY_USAGE;
    static const std::string CERTIFICATE_v3_EXT_SUB_KEY_IDENTIFIER;
    static const std::string CERTIFICATE_v3_EXT_NETSCAPE_CERT_TYPE;
    static const std::string CERTIFICATE_v3_EXT_NETSCAPE_COMMENT;
    /// @}

    /// The values that stand at the members below.
    CCertificateData();

    /// Replaces `out` by the text form.
    void to(std::string& out);

    /// Takes the fields that `text` holds; the others keep their values, and
    /// extensions are added to those already there, in the byte-wise order of
    /// their keys: number 10 comes before number 2. A date may be octal (0...)
    /// or hexadecimal (0x...).
    void from(const std::string& text);

    CDistinguishedName subjectName;               ///< subject_name
    CDistinguishedName issuerName;                ///< issuer_name
    std::int32_t publicKeySizeBits = 2048;        ///< public_key_size_bits
    std::string certSerial = DEFAULT_CERT_SERIAL; ///< cert_serial, mostly decimal
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
