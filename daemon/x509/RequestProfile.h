#pragma once

#include "x509/Key.h"
#include "x509/OpenSsl.h"

#include <ostrel/ServiceConfiguration.h>

#include <openssl/x509v3.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostreld
{

inline void freeExtensions(STACK_OF(X509_EXTENSION) * extensions)
{
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
}
using ExtensionsPointer = OpenSslPointer<STACK_OF(X509_EXTENSION), freeExtensions>;

/// What a service's certificate is to say: its request configuration, an
/// OpenSSL one, from the file that the service names or from what its hook
/// prints; the device's default name for whatever that leaves out; and the
/// alternative names that the service's network settings add. Move-only.
class RequestProfile
{
public:
    /// Reads the service's configuration. Throws Refusal, "CNF not good" or
    /// "Error during external command execution".
    explicit RequestProfile(const ostrel::ServiceConfiguration& service);

    /// Asks for the extensions of the profile "CA-CB_compliant" in the place of
    /// the configuration's own.
    void makeCompliant() { m_isCompliant = true; }

    KeyKind keyKind() const;

    /// The alternative names that the network settings add.
    const std::vector<std::string>& networkNames() const { return m_networkNames; }

    /// A signing request as PEM text; throws Refusal.
    std::string request(const Key& key) const;

    /// A certificate that the key signs itself, valid from now, as PEM text;
    /// throws Refusal.
    std::string selfSigned(const Key& key, std::uint32_t days) const;

private:
    std::string requestSetting(const char* name) const;
    void fillName(X509_NAME* name) const;
    void takeConfiguredName(X509_NAME* name) const;
    ExtensionsPointer extensions(X509V3_CTX* context) const;

    ConfPointer m_conf;
    std::vector<std::string> m_networkNames;
    bool m_isCompliant = false;
};

} // namespace ostreld
