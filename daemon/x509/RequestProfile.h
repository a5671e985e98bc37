#pragma once

#include "x509/Key.h"
#include "x509/OpenSsl.h"

#include <ostrel/ServiceConfiguration.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostreld
{

/// The text of the service's `cnfFile`. Throws Refusal, "CNF not good".
std::string configurationFileText(const ostrel::ServiceConfiguration& service);

/// The contents of a service's requests and self-signed certificates: its OpenSSL request
/// configuration, the device's default name if that has no subject, and the alternative names
/// from the network settings. Move-only.
class RequestProfile
{
public:
    /// `configurationText` is the text of `cnfFile` or the output of the hook. Throws
    /// Refusal, "CNF not good".
    RequestProfile(const ostrel::ServiceConfiguration& service,
                   const std::string& configurationText);

    /// Replaces the configuration's extensions by those of the profile "CA-CB_compliant".
    void makeCompliant() { m_isCompliant = true; }

    KeyKind keyKind() const;

    /// The alternative names from the network settings.
    const std::vector<std::string>& networkNames() const { return m_networkNames; }

    /// A signing request as PEM text; throws Refusal.
    std::string request(const Key& key) const;

    /// A certificate that is signed with `key` and valid from now, as PEM text; throws
    /// Refusal.
    std::string selfSigned(const Key& key, std::uint32_t days) const;

private:
    std::string requestSetting(const char* name) const;
    void fillName(X509_NAME* name) const;
    void addConfiguredName(X509_NAME* name) const;
    ExtensionsPointer extensions(X509V3_CTX* context) const;

    ConfPointer m_conf;
    std::vector<std::string> m_networkNames;
    bool m_isCompliant = false;
};

} // namespace ostreld
