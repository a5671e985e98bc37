#pragma once

// X.509 fields as texts. Each function throws std::bad_alloc, or Refusal, "Bad certificate
// format", and never returns a part of a text.

#include "x509/OpenSsl.h"

#include <ostrl/CDistinguishedName.h>
#include <ostrl/v3Ext.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostreld
{

/// A name on one line, UTF-8, for people.
std::string nameText(const X509_NAME* name);

/// The last common name of `name`, without hidden characters.
std::string commonNameOf(const X509_NAME* name);

/// A name as a record. Characters that a record cannot contain ("," "=" "#" and hidden ones)
/// become blanks.
ostrl::CDistinguishedName nameRecord(const X509_NAME* name);

/// Extensions as records, each value on one line.
std::vector<ostrl::v3Ext> extensionRecords(const STACK_OF(X509_EXTENSION) * extensions);

/// Seconds since 1970 UTC, also after 2038; 0 for an earlier time.
std::int64_t secondsSince1970(const ASN1_TIME* time);

/// OpenSSL's long name of a number.
std::string longName(int nid);

/// The key in a certificate or request, which owns it; null if OpenSSL does not know this
/// kind of key.
EVP_PKEY* keyIn(X509_PUBKEY* holder);

/// The name of the key's algorithm, and the key as base64 on one line.
std::string keyType(const EVP_PKEY* key);
std::string keyText(const X509_PUBKEY* holder);

/// The IP addresses and host names of a certificate.
struct AlternativeNames {
    std::vector<std::string> ips;
    std::vector<std::string> hostnames;
};
AlternativeNames alternativeNamesOf(const X509* certificate);

} // namespace ostreld
