#include <ostrel/DaemonConfiguration.h>

#include "tools/InFlight.h"
#include "tools/KeyValueText.h"
#include "tools/TextFile.h"

#include <stdexcept>

namespace ostrel
{

namespace
{

const char configurationFile[] = "/etc/ostrel/config.daemon";

int timeDriftValue(const KeyValueMap& map, const std::string& key)
{
    const std::string value = valueOf(map, key);
    if (value.empty()) {
        return 0;
    }
    // Intended: the texts name TimeDriftSleepTime for either key.
    return orRuntimeError<std::invalid_argument, std::out_of_range>(
        {"Std exception invalid argument caught while getting the value for TimeDriftSleepTime in "
         "api: ",
         "Std exception out of range caught while getting the value for TimeDriftSleepTime in "
         "api: ",
         "Generic exception caught while getting value for TimeDriftSleepTime."},
        [&] { return std::stoi(value); });
}

} // namespace

struct DaemonConfiguration::TextKey {
    const char* key;
    std::string DaemonConfiguration::*field;
};

const DaemonConfiguration::TextKey DaemonConfiguration::textKeys[8] = {
    {"ostrelDirectory", &DaemonConfiguration::m_ostrelDirectory},
    {"notificationGroup", &DaemonConfiguration::m_notificationGroup},
    {"serviceConfigDirectory", &DaemonConfiguration::m_serviceConfigDirectory},
    {"namePipesDirectory", &DaemonConfiguration::m_namePipesDirectory},
    {"daemonUser", &DaemonConfiguration::m_daemonUser},
    {"scriptsDirectory", &DaemonConfiguration::m_scriptsDirectory},
    {"lockFile", &DaemonConfiguration::m_lockFile},
    {"pidFile", &DaemonConfiguration::m_pidFile},
};

DaemonConfiguration::DaemonConfiguration()
{
    const TextFile file = readTextFile(configurationFile);
    if (!file.isOpen) {
        throw std::runtime_error(std::string("Failed to open configuration file : ") +
                                 configurationFile);
    }
    const KeyValueMap map = configMapOf(file.text);
    const std::string minDate = valueOf(map, "minDateForGeneratingCert");
    m_minDateForGeneratingCert = minDate.empty() ? 0 : std::stoll(minDate);
    m_timeDriftSleepTime = timeDriftValue(map, "TimeDriftSleepTime");
    m_timeDriftThresholdValue = timeDriftValue(map, "TimeDriftThresholdValue");

    std::string missing;
    for (const TextKey& row : textKeys) {
        this->*row.field = valueOf(map, row.key);
        if ((this->*row.field).empty()) {
            missing += std::string("'") + row.key + "' is not defined; ";
        }
    }
    if (!missing.empty()) {
        throw std::runtime_error("Bad daemon configuration file : " + missing);
    }
}

DaemonConfiguration& DaemonConfiguration::getInstance()
{
    static DaemonConfiguration instance;
    return instance;
}

std::string DaemonConfiguration::getOstrelDirectory()
{
    return orRuntimeError<std::runtime_error>(
        {"Runtime error caught while getting ostreld directory: ",
         "Std exception caught while getting ostreld directory: ",
         "Generic exception caught while getting ostreld directory."},
        [] { return getInstance().m_ostrelDirectory; });
}

std::string DaemonConfiguration::getNamePipesDirectory()
{
    // Intended: "Standard" here, "Std" in getOstrelDirectory().
    return orRuntimeError<std::runtime_error>(
        {"Runtime error caught while getting named pipes directory: ",
         "Standard exception caught while getting named pipes directory: ",
         "Generic exception caught while getting named pipes directory."},
        [] { return getInstance().m_namePipesDirectory; });
}

std::string DaemonConfiguration::getNotificationGroup()
{
    return getInstance().m_notificationGroup;
}

std::string DaemonConfiguration::getServiceConfigDirectory()
{
    return getInstance().m_serviceConfigDirectory;
}

std::int64_t DaemonConfiguration::getMinDateForGeneratingCert()
{
    return getInstance().m_minDateForGeneratingCert;
}

std::string DaemonConfiguration::getDaemonUser()
{
    return getInstance().m_daemonUser;
}

std::string DaemonConfiguration::getScriptsDirectory()
{
    return getInstance().m_scriptsDirectory;
}

std::string DaemonConfiguration::getLockFile()
{
    return getInstance().m_lockFile;
}

std::string DaemonConfiguration::getPidFile()
{
    return getInstance().m_pidFile;
}

int DaemonConfiguration::getTimeDriftSleepTime()
{
    return getInstance().m_timeDriftSleepTime;
}

int DaemonConfiguration::getTimeDriftThresholdValue()
{
    return getInstance().m_timeDriftThresholdValue;
}

} // namespace ostrel
