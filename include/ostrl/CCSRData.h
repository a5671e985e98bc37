#pragma once

#include <ostrel/Export.h>
#include <ostrl/CDistinguishedName.h>
#include <ostrl/v3Ext.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostrl
{

/// The record of one certificate signing request, as the daemon sends it. Returned by
/// OstrelService::getCsrInfo(). A value: copies are independent. Text form, threads,
/// blocking and errors are those of CCertificateData.
///
///     subject_name C=US, CN=web.example.com
///     public_key_size_bits 2048
///     csr_version 3
///     public_key_type RSA
///     signatureAlgorithm_type sha256WithRSAEncryption
class OSTREL_API CCSRData
{
public:
    /// A key of 2048 bits, version 3, and everything else empty.
    CCSRData();

    /// Replaces `out` by the text form.
    void to(std::string& out);

    /// Sets the fields that `text` contains; the others keep their values. Adds
    /// extensions to those that the record has, in the byte order of their keys.
    void from(const std::string& text);

    CDistinguishedName subjectName;        ///< subject_name
    std::vector<v3Ext> v3Extensions;       ///< v3Extention0, v3Extention1, ...
    std::int32_t publicKeySizeBits = 2048; ///< public_key_size_bits
    std::int32_t csrVersion = 3;           ///< csr_version
    std::string publicKeyType;             ///< public_key_type
    /// signatureAlgorithm_type. Intended: empty at first, unlike a certificate's.
    std::string signatureAlgorithmType;
};

} // namespace ostrl
