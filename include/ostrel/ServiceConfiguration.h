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
    std::string m_name;
    bool m_regenerateIfOff = false;
    bool m_includeIPv4 = false;
    bool m_includeIPv4Auto = false;
    bool m_includeIPv6 = false;
    bool m_includeIPv6Auto = false;
};

/// The configuration of one service: the file named after it, ending in
/// ".conf", in DaemonConfiguration::getServiceConfigDirectory(). A key of the
/// file is the member's name without "m_", unless the member says otherwise.
/// A flag is true for the exact value "yes" alone.
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
    explicit ServiceConfiguration(const std::string& serviceName);

    /// Reads the file again. Members of a section that is off keep their
    /// values, network interfaces are added to those already there, and after a
    /// failure the members read so far have their new values. Throws
    /// std::runtime_error when the file is missing or a value is refused.
    void reload();

    /// Path of the file.
    std::string getServiceConfigFile() const;

    /// Paths of the service's stores below the service configuration
    /// directory. Each throws std::runtime_error when the daemon's
    /// configuration cannot be read.
    std::string getServerPath() const;
    std::string getCAPath() const;
    std::string getTrustedClientsPath() const;

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
    std::string m_callbackScript;
    std::string m_callbackLibrary;
    /// Which stores the service has.
    bool m_server = false;
    bool m_ca = false;
    bool m_trustedClients = false;

    // Section "server": read only when m_server is true.
    std::string m_cnfFile;
    std::string m_cnfHookFile;
    bool m_selfSignedGeneration = false;
    bool m_selfSignedOnExpiration = false;
    std::uint32_t m_selfSignedValidity = 0;
    std::uint32_t m_selfSignedValidityOffset = 0;
    bool m_CASignedGeneration = false;
    bool m_CASignedOnExpiration = false;
    std::string m_CAServiceId;
    std::uint32_t m_CASignedValidity = 0;
    std::uint32_t m_CASignedValidityOffset = 0;
    /// Key "CertDailyExpiryChkTimeOffsetSecs", read in any case: seconds after
    /// midnight, at most 86399.
    std::uint32_t m_certDailyExpiryChkTimeOffsetSecs = 0;
    bool m_networkInvalidRevokePKIcert = false;
    bool m_opensslEngine = false;
    /// Keys "networkInterface.<i>" and companions, i counting from 0 without a
    /// gap; the last number that names an interface wins.
    std::map<std::string, ServiceNetworkConfiguration> m_networkConfigurations;
    /// The interfaces' names in the order of their numbers, repetitions kept.
    std::vector<std::string> m_networkInterfaces;
    bool m_includeFQDN = false;

    // Section "ca": read only when m_ca is true.
    std::uint16_t m_maximumCA = 0;
    bool m_uniqueCaByCn = false;

    // Section "trustedClients": read only when m_trustedClients is true.
    /// Takes effect only in a file that sets "maximumCA" too.
    std::uint16_t m_maximumTrustedClients = 0;
    bool m_uniqueTrustedClientByCn = false;
};

} // namespace ostrel
