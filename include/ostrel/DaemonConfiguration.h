#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <string>

namespace ostrel
{

/// The daemon's configuration, "/etc/ostrel/config.daemon": the daemon and
/// every client read the same file, so they agree on where everything lies.
///
/// The file is read once in a process, by the first getter that is called, and
/// its values then stay for the life of the process. While it cannot be read,
/// every getter throws, and the next call tries again.
///
/// Threads: every member may be called from any thread at any time.
/// Errors: std::runtime_error when the file is missing, when required keys are
/// (all of them in one message) or when a time-drift value is no number;
/// std::invalid_argument or std::out_of_range ("stoll") when
/// minDateForGeneratingCert is no number. Blocking: on reading one small file.
///
///     std::string root = ostrel::DaemonConfiguration::getOstrelDirectory();
class OSTREL_API DaemonConfiguration
{
public:
    /// The instance of the process.
    static DaemonConfiguration& getInstance();

    /// Root of the certificate stores. Each of this getter's failures is a
    /// std::runtime_error that says so in front.
    static std::string getOstrelDirectory();
    /// Group that may send notifications.
    static std::string getNotificationGroup();
    /// Directory of the services' configuration files.
    static std::string getServiceConfigDirectory();
    /// Earliest date for generating certificates, seconds since 1970; 0 when
    /// the file does not say.
    static std::int64_t getMinDateForGeneratingCert();
    /// Directory of the named pipes and of all volatile files. Its failures
    /// are translated as those of getOstrelDirectory().
    static std::string getNamePipesDirectory();
    /// User that the daemon runs as.
    static std::string getDaemonUser();
    /// Directory of the callback scripts.
    static std::string getScriptsDirectory();
    /// File whose lock keeps a second daemon from running.
    static std::string getLockFile();
    /// File that holds the daemon's process id.
    static std::string getPidFile();
    /// Seconds between two looks at the clock; 0 when the file does not say.
    static int getTimeDriftSleepTime();
    /// Seconds of drift that count as a changed clock; 0 when the file does
    /// not say.
    static int getTimeDriftThresholdValue();

private:
    struct TextKey;
    OSTREL_HIDDEN static const TextKey textKeys[8];

    OSTREL_HIDDEN DaemonConfiguration();

    std::string m_ostrelDirectory;
    std::string m_notificationGroup;
    std::string m_serviceConfigDirectory;
    std::int64_t m_minDateForGeneratingCert = 0;
    std::string m_namePipesDirectory;
    std::string m_daemonUser;
    std::string m_scriptsDirectory;
    std::string m_lockFile;
    std::string m_pidFile;
    int m_timeDriftSleepTime = 0;
    int m_timeDriftThresholdValue = 0;
};

} // namespace ostrel
