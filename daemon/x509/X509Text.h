#pragma once

// X.509 fields as the texts in which the daemon tells them.

#include <ostrl/CDistinguishedName.h>
#include <ostrl/v3Ext.h>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace ostreld
{

/// What `print` writes into a BIO.
std::string printed(const std::function<void(BIO*)>& print);

/// A name on one line, UTF-8, for people.
std::string nameText(const X509_NAME* name);

/// The last common name of `name`, control characters replaced.
std::string commonNameOf(const X509_NAME* name);

/// A name as a record. What the record's text cannot carry ("," "=" "#" and
/// control characters) is replaced by a blank.
ostrl::CDistinguishedName nameRecord(const X509_NAME* name);

/// Extensions as records, their values on one line.
std::vector<ostrl::v3Ext> extensionRecords(const STACK_OF(X509_EXTENSION) * extensions);

/// Seconds since 1970 UTC, right beyond 2038; 0 for a time before.
std::uint64_t secondsSince1970(const ASN1_TIME* time);

/// The key's algorithm, and the key itself as base64 on one line.
std::string keyType(const EVP_PKEY* key);
std::string keyText(EVP_PKEY* key);

/// The IP addresses and host names that a certificate is valid for.
struct AlternativeNames {
    std::vector<std::string> ips;
    std::vector<std::string> hostnames;
};
AlternativeNames alternativeNamesOf(const X509* certificate);

} // namespace ostreld
