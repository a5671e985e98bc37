#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace ostrel
{

/// The configuration of one network interface of a service. A value.
struct ServiceNetworkConfiguration {
    std::string m_name;             ///< The interface, such as "eth0".
    bool m_regenerateIfOff = false; ///< Create a new certificate while it is off.
    bool m_includeIPv4 = false;     ///< Include its IPv4 addresses in certificates.
    bool m_includeIPv4Auto = false; ///< Include its self-assigned IPv4 addresses.
    bool m_includeIPv6 = false;     ///< Include its IPv6 addresses.
    bool m_includeIPv6Auto = false; ///< Include its link-local IPv6 addresses.
};

/// The configuration of one service: the file "<service>.conf" in
/// DaemonConfiguration::getServiceConfigDirectory(). The library and the daemon use
/// it. A value: copies are independent.
///
/// A key of the file is the member's name without "m_", unless the member says
/// otherwise. A flag is true only if its value is exactly "yes". docs/FILES.md lists
/// the keys; docs/DAEMON.md explains what the daemon does with each.
///
/// Threads: several threads may read one object at once; reload() and the other
/// changes need exclusive access; any thread may call getServiceList(). Blocking:
/// reads small files, waits for nothing else. Errors: as each member says, and those
/// of DaemonConfiguration.
///
///     const ostrel::ServiceConfiguration web("web");
///     if (web.m_ca) ...
class OSTREL_API ServiceConfiguration
{
public:
    /// Reads the configuration of `serviceName`. Throws as reload().
    ServiceConfiguration(const std::string& serviceName);

    /// Reads the file again. The members of a section that is off keep their
    /// values, and network interfaces are added to those that the object has.
    /// Throws std::runtime_error when the file cannot be opened or a value is
    /// refused; members that were read before the failure keep their new values.
    void reload();

    /// The path of the file. Throws as DaemonConfiguration.
    std::string getServiceConfigFile() const;

    /// @{
    /// A path of one of the service's stores below the directory of the
    /// configurations; the files of a store are elsewhere, see
    /// ExternalCertificatesAccessor. Throws std::runtime_error when the daemon's
    /// configuration is missing or invalid.
    std::string getServerPath() const;
    std::string getCAPath() const;
    std::string getTrustedClientsPath() const;
    /// @}

    /// The configuration of one interface. Throws std::out_of_range when the
    /// configuration does not name it.
    ServiceNetworkConfiguration getNetworkInterfaces(const std::string& name) const;

    /// Clears the four flags that include addresses, for every interface.
    void setExcludeIpForAllNetworkInterfaces();

    /// The names of all configured services, in the order of the directory; empty
    /// when the directory cannot be read. Throws std::runtime_error when the
    /// daemon's configuration is missing or invalid.
    static std::vector<std::string> getServiceList();

    /// The name of the file without ".conf", which all paths contain.
    std::string m_serviceName;
    /// The name for people.
    std::string m_name;
    /// The group that may manage the service. The key has this spelling.
    std::string m_managmentGroup;
    /// The group that may read private keys.
    std::string m_keyGroup;
    /// The program that the daemon runs after a change.
    std::string m_callbackScript;
    /// The library that the daemon notifies of a change.
    std::string m_callbackLibrary;
    /// @{
    /// Whether the service has the store.
    bool m_server = false;
    bool m_ca = false;
    bool m_trustedClients = false;
    /// @}

    // Section "server": read only when m_server is true.

    /// @{
    /// The file with the configuration of signing requests, and the program that
    /// prints such a configuration. At least one of the two must be given.
    std::string m_cnfFile;
    std::string m_cnfHookFile;
    /// @}
    /// @{
    /// Whether the daemon generates a self-signed certificate when it has no
    /// certificate, and whether it renews it before it expires.
    bool m_selfSignedGeneration = false;
    bool m_selfSignedOnExpiration = false;
    /// @}
    /// @{
    /// For how many days a self-signed certificate is valid (30 when the key is
    /// absent), and how many days before its end it is renewed, which must be
    /// fewer.
    std::uint32_t m_selfSignedValidity = 0;
    std::uint32_t m_selfSignedValidityOffset = 0;
    /// @}
    /// @{
    /// The same two flags for a certificate that the CA of another service signs.
    bool m_CASignedGeneration = false;
    bool m_CASignedOnExpiration = false;
    /// @}
    /// The service that has this CA.
    std::string m_CAServiceId;
    /// @{
    /// The same days for a CA-signed certificate.
    std::uint32_t m_CASignedValidity = 0;
    std::uint32_t m_CASignedValidityOffset = 0;
    /// @}
    /// Key "CertDailyExpiryChkTimeOffsetSecs", read even if this section is off:
    /// seconds after midnight, at most 86399.
    std::uint32_t m_certDailyExpiryChkTimeOffsetSecs = 0;
    /// Whether the daemon revokes a certificate when the network is gone.
    bool m_networkInvalidRevokePKIcert = false;
    /// Whether the service's keys are held in a TPM.
    bool m_opensslEngine = false;
    /// Keys "networkInterface.<i>", "regenerateIfOff.<i>" and so on; i counts from 0
    /// without a gap. If several numbers name one interface, the last one wins.
    std::map<std::string, ServiceNetworkConfiguration> m_networkConfigurations;
    /// The names of the interfaces in the order of their numbers, including
    /// repetitions.
    std::vector<std::string> m_networkInterfaces;
    /// Whether certificates include the device's fully qualified name.
    bool m_includeFQDN = false;

    // Section "ca": read only when m_ca is true.

    /// The largest number of CAs; 0 means no limit.
    std::uint16_t m_maximumCA = 0;
    /// Whether all CAs must have different common names.
    bool m_uniqueCaByCn = false;

    // Section "trustedClients": read only when m_trustedClients is true.

    /// The largest number of trusted clients; 0 means no limit. The key counts only
    /// in a file that also sets "maximumCA".
    std::uint16_t m_maximumTrustedClients = 0;
    /// Whether all trusted clients must have different common names.
    bool m_uniqueTrustedClientByCn = false;
};

} // namespace ostrel
