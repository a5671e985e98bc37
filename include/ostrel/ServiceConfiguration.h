#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace ostrel
{

/// What the configuration of a service says about one network interface.
struct ServiceNetworkConfiguration {
    std::string m_name;             ///< The interface, such as "eth0".
    bool m_regenerateIfOff = false; ///< Make a new certificate while it is off.
    bool m_includeIPv4 = false;     ///< Its IPv4 addresses go into the certificate,
    bool m_includeIPv4Auto = false; ///< the ones that it gave to itself,
    bool m_includeIPv6 = false;     ///< its IPv6 addresses,
    bool m_includeIPv6Auto = false; ///< and the link-local ones.
};

/// The configuration of one service: the file named after it, ending in
/// ".conf", in DaemonConfiguration::getServiceConfigDirectory(). A key of the
/// file is the member's name without "m_", unless the member says otherwise.
/// A flag is true for the exact value "yes" alone. docs/FILES.md lists the keys,
/// docs/DAEMON.md tells what the daemon does with each.
///
/// Threads: one object belongs to one thread at a time; getServiceList() may be
/// called from any thread. Errors: as each member says, and those of
/// DaemonConfiguration. Blocking: on reading small files.
///
///     const ostrel::ServiceConfiguration web("web");
///     if (web.m_ca) ...
class OSTREL_API ServiceConfiguration
{
public:
    /// Reads the configuration of `serviceName`; throws as reload() does.
    ServiceConfiguration(const std::string& serviceName);

    /// Reads the file again. Members of a section that is off keep their
    /// values, network interfaces are added to those already there, and after a
    /// failure the members read so far have their new values. Throws
    /// std::runtime_error when the file is missing or a value is refused.
    void reload();

    /// Path of the file.
    std::string getServiceConfigFile() const;

    /// @{
    /// Path of one of the service's stores below the service configuration
    /// directory. Throws std::runtime_error when the daemon's configuration
    /// cannot be read.
    std::string getServerPath() const;
    std::string getCAPath() const;
    std::string getTrustedClientsPath() const;
    /// @}

    /// The configuration of one interface; std::out_of_range when unknown.
    ServiceNetworkConfiguration getNetworkInterfaces(const std::string& name) const;

    /// Takes every IP address of every interface out.
    void setExcludeIpForAllNetworkInterfaces();

    /// The names of all configured services, in the order of the directory; an
    /// unreadable directory gives none. Throws std::runtime_error when the
    /// daemon's configuration cannot be read.
    static std::vector<std::string> getServiceList();

    /// The name that finds the file and builds every path.
    std::string m_serviceName;
    /// The name for people.
    std::string m_name;
    /// Group that may manage the service. The key is spelt so.
    std::string m_managmentGroup;
    /// Group that may read private keys.
    std::string m_keyGroup;
    /// Program that the daemon runs after a change.
    std::string m_callbackScript;
    /// Library that the daemon tells of a change.
    std::string m_callbackLibrary;
    /// @{
    /// Whether the service has the store.
    bool m_server = false;
    bool m_ca = false;
    bool m_trustedClients = false;
    /// @}

    // Section "server": read only when m_server is true.

    /// @{
    /// OpenSSL request configuration, and the program that prints one. One of
    /// the two must be given.
    std::string m_cnfFile;
    std::string m_cnfHookFile;
    /// @}
    /// @{
    /// Whether the daemon makes a self-signed certificate where there is none,
    /// and a new one before its end.
    bool m_selfSignedGeneration = false;
    bool m_selfSignedOnExpiration = false;
    /// @}
    /// @{
    /// Days that a self-signed certificate is valid (30 when the file does not
    /// say), and days before its end that it is replaced, which are fewer.
    std::uint32_t m_selfSignedValidity = 0;
    std::uint32_t m_selfSignedValidityOffset = 0;
    /// @}
    /// @{
    /// The same for a certificate that the CA of another service signs.
    bool m_CASignedGeneration = false;
    bool m_CASignedOnExpiration = false;
    /// @}
    /// The service whose CA that is.
    std::string m_CAServiceId;
    /// @{
    /// The same days for a CA-signed certificate.
    std::uint32_t m_CASignedValidity = 0;
    std::uint32_t m_CASignedValidityOffset = 0;
    /// @}
    /// Key "CertDailyExpiryChkTimeOffsetSecs", read in any case: seconds after
    /// midnight, at most 86399.
    std::uint32_t m_certDailyExpiryChkTimeOffsetSecs = 0;
    /// Whether a certificate is revoked when the network is gone.
    bool m_networkInvalidRevokePKIcert = false;
    /// Whether the service's keys are held in a TPM.
    bool m_opensslEngine = false;
    /// Keys "networkInterface.<i>" and companions, i counting from 0 without a
    /// gap; the last number that names an interface wins.
    std::map<std::string, ServiceNetworkConfiguration> m_networkConfigurations;
    /// The interfaces' names in the order of their numbers, repetitions kept.
    std::vector<std::string> m_networkInterfaces;
    /// Whether the device's full name goes into the certificate.
    bool m_includeFQDN = false;

    // Section "ca": read only when m_ca is true.

    /// Most CAs that the service takes; 0 for no limit.
    std::uint16_t m_maximumCA = 0;
    /// Whether it takes one CA of a common name at most.
    bool m_uniqueCaByCn = false;

    // Section "trustedClients": read only when m_trustedClients is true.

    /// Most trusted clients that the service takes; 0 for no limit. Takes
    /// effect only in a file that sets "maximumCA" too.
    std::uint16_t m_maximumTrustedClients = 0;
    /// Whether it takes one trusted client of a common name at most.
    bool m_uniqueTrustedClientByCn = false;
};

} // namespace ostrel
