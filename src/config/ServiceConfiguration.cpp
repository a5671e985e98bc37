#include <ostrel/ServiceConfiguration.h>

#include <ostrel/DaemonConfiguration.h>

#include "tools/InFlight.h"
#include "tools/KeyValueText.h"
#include "tools/TextFile.h"
#include "tools/Trace.h"

#include <memory>
#include <sstream>
#include <stdexcept>

#include <dirent.h>

namespace ostrel
{

namespace
{

constexpr std::uint32_t defaultValidityDays = 30;
constexpr std::uint32_t lastSecondOfDay = 86399;

struct TextKey {
    const char* key;
    std::string ServiceConfiguration::*field;
};

struct FlagKey {
    const char* key;
    bool ServiceConfiguration::*field;
};

constexpr TextKey commonTexts[] = {
    {"name", &ServiceConfiguration::m_name},
    {"keyGroup", &ServiceConfiguration::m_keyGroup},
    {"managmentGroup", &ServiceConfiguration::m_managmentGroup},
    {"callbackScript", &ServiceConfiguration::m_callbackScript},
    {"callbackLibrary", &ServiceConfiguration::m_callbackLibrary},
};

constexpr FlagKey commonFlags[] = {
    {"server", &ServiceConfiguration::m_server},
    {"ca", &ServiceConfiguration::m_ca},
    {"trustedClients", &ServiceConfiguration::m_trustedClients},
};

constexpr TextKey cnfTexts[] = {
    {"cnfHookFile", &ServiceConfiguration::m_cnfHookFile},
    {"cnfFile", &ServiceConfiguration::m_cnfFile},
};

constexpr FlagKey serverFlags[] = {
    {"networkInvalidRevokePKIcert", &ServiceConfiguration::m_networkInvalidRevokePKIcert},
    {"opensslEngine", &ServiceConfiguration::m_opensslEngine},
    {"includeFQDN", &ServiceConfiguration::m_includeFQDN},
};

/// The keys of one kind of generated certificates: whether, for how long, and how long
/// before its end the daemon renews one.
struct ValidityKeys {
    FlagKey generation;
    FlagKey onExpiration;
    const char* validityKey;
    const char* offsetKey;
    std::uint32_t ServiceConfiguration::*validity;
    std::uint32_t ServiceConfiguration::*offset;
    const char* validityName;
    const char* offsetName;
    const char* rangeError;
};

constexpr ValidityKeys selfSigned = {
    {"selfSignedGeneration", &ServiceConfiguration::m_selfSignedGeneration},
    {"selfSignedOnExpiration", &ServiceConfiguration::m_selfSignedOnExpiration},
    "selfSignedValidity",
    "selfSignedValidityOffset",
    &ServiceConfiguration::m_selfSignedValidity,
    &ServiceConfiguration::m_selfSignedValidityOffset,
    ": self-signed validity",
    ": self-signed validity offset",
    "Invalid config parameter: selfsigned validity offset should be less than validity.",
};

constexpr ValidityKeys caSigned = {
    {"CASignedGeneration", &ServiceConfiguration::m_CASignedGeneration},
    {"CASignedOnExpiration", &ServiceConfiguration::m_CASignedOnExpiration},
    "CASignedValidity",
    "CASignedValidityOffset",
    &ServiceConfiguration::m_CASignedValidity,
    &ServiceConfiguration::m_CASignedValidityOffset,
    ": CA-signed validity",
    ": CA-signed validity offset",
    // Intended: no full stop, unlike the self-signed text.
    "Invalid config parameter: CA-signed validity offset should be less than validity",
};

TierTexts textsOfReading(const std::string& name)
{
    const std::string reading = " exception caught while reading config parameter" + name;
    const std::string standard = "Standard" + reading + " - ";
    return {standard, standard, "Generic" + reading + '.'};
}

// Reads the values of one file into a configuration, section by section.
class SectionReader
{
public:
    SectionReader(ServiceConfiguration& configuration, const KeyValueMap& map)
        : m_configuration(configuration), m_map(map)
    {
    }

    void readCommon();
    void readServer();
    void readCA();
    void readTrustedClients();

private:
    std::string value(const std::string& key) const { return valueOf(m_map, key); }
    // Intended: only "yes" is true.
    bool isYes(const std::string& key) const { return value(key) == "yes"; }
    void readFlag(const FlagKey& row) { m_configuration.*row.field = isYes(row.key); }
    void readValidity(const ValidityKeys& keys);
    void readNetworkInterfaces();

    template <std::size_t N>
    void readTexts(const TextKey (&rows)[N])
    {
        for (const TextKey& row : rows) {
            m_configuration.*row.field = value(row.key);
        }
    }

    template <std::size_t N>
    void readFlags(const FlagKey (&rows)[N])
    {
        for (const FlagKey& row : rows) {
            readFlag(row);
        }
    }

    // The number that a stream extracts from the value of `key`: 0 when it has no digits,
    // and the largest number of the type when it is too large. `name` is the value's name
    // in the error texts.
    template <class Number>
    Number number(const char* key, const std::string& name) const
    {
        return orRuntimeError<std::runtime_error>(textsOfReading(name), [&] {
            Number result = 0;
            std::istringstream stream(value(key));
            stream.imbue(std::locale::classic());
            stream >> result;
            return result;
        });
    }

    void storeIfPositive(std::uint32_t& field, const char* key, const char* name) const
    {
        const auto days = number<std::int64_t>(key, name);
        if (days >= 1) {
            field = static_cast<std::uint32_t>(days);
        }
    }

    ServiceConfiguration& m_configuration;
    const KeyValueMap& m_map;
};

void SectionReader::readCommon()
{
    readTexts(commonTexts);
    readFlags(commonFlags);
    std::uint32_t& offset = m_configuration.m_certDailyExpiryChkTimeOffsetSecs;
    offset = number<std::uint32_t>("CertDailyExpiryChkTimeOffsetSecs",
                                   " certificate expiry check offset time");
    trace("value for CertDailyExpiryChkTimeOffsetSecs :", std::to_string(offset));
    if (offset > lastSecondOfDay) {
        // Intended: zero passes, although the text says otherwise.
        throw std::runtime_error(
            "Invalid config parameter: certificate expiry check offset time should be greater "
            "than zero and less than seconds in one day.");
    }
}

void SectionReader::readServer()
{
    readTexts(cnfTexts);
    if (m_configuration.m_cnfFile.empty() && m_configuration.m_cnfHookFile.empty()) {
        trace("Error: cnfHookFile or cnfFile must be defined");
        // Intended: the hook file is called "cnf File" here.
        throw std::runtime_error("Invalid config parameter: cnf File or cnfFile must be defined");
    }
    readValidity(selfSigned);
    m_configuration.m_CAServiceId = value("CAServiceId");
    readValidity(caSigned);
    readFlags(serverFlags);
    readNetworkInterfaces();
}

void SectionReader::readValidity(const ValidityKeys& keys)
{
    readFlag(keys.generation);
    readFlag(keys.onExpiration);
    std::uint32_t& validity = m_configuration.*keys.validity;
    std::uint32_t& offset = m_configuration.*keys.offset;
    validity = defaultValidityDays;
    storeIfPositive(validity, keys.validityKey, keys.validityName);
    offset = 0;
    if (value(keys.offsetKey).empty()) {
        return;
    }
    storeIfPositive(offset, keys.offsetKey, keys.offsetName);
    if (offset >= validity) {
        throw std::runtime_error(keys.rangeError);
    }
}

void SectionReader::readNetworkInterfaces()
{
    for (unsigned int number = 0;; ++number) {
        const std::string suffix = '.' + std::to_string(number);
        const std::string name = value("networkInterface" + suffix);
        if (name.empty()) {
            return;
        }
        m_configuration.m_networkConfigurations[name] = {
            name,
            isYes("regenerateIfOff" + suffix),
            isYes("includeIPv4" + suffix),
            isYes("includeIPv4Auto" + suffix),
            isYes("includeIPv6" + suffix),
            isYes("includeIPv6Auto" + suffix),
        };
        m_configuration.m_networkInterfaces.push_back(name);
    }
}

void SectionReader::readCA()
{
    m_configuration.m_maximumCA = number<std::uint16_t>("maximumCA", ": maximum CA");
    m_configuration.m_uniqueCaByCn = isYes("uniqueCaByCn");
}

void SectionReader::readTrustedClients()
{
    m_configuration.m_maximumTrustedClients = 0;
    // Intended: without a "maximumCA" in the file, "maximumTrustedClients" has no effect.
    if (!value("maximumCA").empty()) {
        m_configuration.m_maximumTrustedClients =
            number<std::uint16_t>("maximumTrustedClients", ": maximum trusted client");
    }
    m_configuration.m_uniqueTrustedClientByCn = isYes("uniqueTrustedClientByCn");
}

// Intended: two slashes, as "directory/" and "/file".
std::string pathBelowConfigDirectory(const std::string& name)
{
    return DaemonConfiguration::getServiceConfigDirectory() + "//" + name;
}

std::string storePath(const ServiceConfiguration& service, const char* store,
                      const TierTexts& texts)
{
    return orRuntimeError<std::runtime_error>(
        texts, [&] { return pathBelowConfigDirectory(service.m_serviceName) + store; });
}

void appendServiceOf(const dirent& entry, std::vector<std::string>& services)
{
    const std::string name = entry.d_name;
    const std::size_t dot = name.find('.');
    // Intended: the type that the listing reports, so a symbolic link is not a service.
    if (entry.d_type == DT_REG && dot != std::string::npos && name.substr(dot) == ".conf") {
        services.push_back(name.substr(0, dot));
    }
}

std::vector<std::string> servicesIn(const std::string& path)
{
    std::vector<std::string> services;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(path.c_str()), ::closedir);
    if (directory) {
        while (const dirent* entry = ::readdir(directory.get())) {
            appendServiceOf(*entry, services);
        }
    }
    return services;
}

} // namespace

ServiceConfiguration::ServiceConfiguration(const std::string& serviceName)
    : m_serviceName(serviceName)
{
    reload();
}

void ServiceConfiguration::reload()
{
    const TextFile file = readTextFile(getServiceConfigFile());
    if (!file.isOpen) {
        throw std::runtime_error("No configuration file for the service " + m_serviceName);
    }
    const KeyValueMap map = configMapOf(file.text);
    SectionReader reader(*this, map);
    reader.readCommon();
    if (m_server) {
        reader.readServer();
    }
    if (m_ca) {
        reader.readCA();
    }
    if (m_trustedClients) {
        reader.readTrustedClients();
    }
}

std::string ServiceConfiguration::getServiceConfigFile() const
{
    return pathBelowConfigDirectory(m_serviceName + ".conf");
}

std::string ServiceConfiguration::getServerPath() const
{
    return storePath(*this, "/server",
                     {"Runtime error caught while getting server path: ",
                      "Std exception caught while getting server path: ",
                      "Generic exception caught while getting server path."});
}

std::string ServiceConfiguration::getCAPath() const
{
    return storePath(*this, "/ca",
                     {"Runtime error caught while getting CA path: ",
                      "Std exception caught while getting CA path: ",
                      "Generic exception caught while getting CA path."});
}

std::string ServiceConfiguration::getTrustedClientsPath() const
{
    return storePath(*this, "/client",
                     {"Runtime error caught while getting trusted client path: ",
                      "Std exception caught while getting trusted client path: ",
                      "Generic exception caught while getting trusted client path."});
}

ServiceNetworkConfiguration
ServiceConfiguration::getNetworkInterfaces(const std::string& name) const
{
    return m_networkConfigurations.at(name);
}

void ServiceConfiguration::setExcludeIpForAllNetworkInterfaces()
{
    for (auto& entry : m_networkConfigurations) {
        entry.second.m_includeIPv4 = false;
        entry.second.m_includeIPv4Auto = false;
        entry.second.m_includeIPv6 = false;
        entry.second.m_includeIPv6Auto = false;
    }
}

std::vector<std::string> ServiceConfiguration::getServiceList()
{
    const char* text = "Std exception caught while getting service list: ";
    return orRuntimeError<std::runtime_error>(
        {text, text, "Generic exception caught while getting service list."},
        [] { return servicesIn(DaemonConfiguration::getServiceConfigDirectory()); });
}

} // namespace ostrel
