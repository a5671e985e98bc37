#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <string>

namespace ostrel
{

/// The daemon's configuration, "/etc/ostrel/config.daemon". The daemon and every
/// client read the same file, so they agree on all paths. docs/FILES.md lists the
/// keys and their values.
///
/// A process reads the file once, in the first call of a getter, and keeps the
/// values until it ends. While the file is missing or invalid, each call reads it
/// again and throws.
///
/// Threads: any thread may call any member at any time. Blocking: the first call
/// reads one small file and waits for nothing else. Errors: std::runtime_error when
/// the file cannot be opened, when required keys are missing (the text names all of
/// them), or when a time-drift value is not a number; std::invalid_argument or
/// std::out_of_range when minDateForGeneratingCert is not a number. The process owns
/// the instance; the getters return copies.
///
///     std::string root = ostrel::DaemonConfiguration::getOstrelDirectory();
class OSTREL_API DaemonConfiguration
{
public:
    /// The one instance of the process. Reads the file as a getter does.
    static DaemonConfiguration& getInstance();

    /// Root of the persistent files: certificates, keys, lists. Every failure of
    /// this getter is a std::runtime_error whose text starts with the getter's
    /// purpose.
    static std::string getOstrelDirectory();
    /// The group whose members may send notifications.
    static std::string getNotificationGroup();
    /// Directory of the services' configuration files.
    static std::string getServiceConfigDirectory();
    /// The earliest date at which the daemon generates certificates, in seconds
    /// since 1970 UTC; 0 when the key is absent.
    static std::int64_t getMinDateForGeneratingCert();
    /// Root of the volatile files: named pipes, summaries, texts. Its failures are
    /// as those of getOstrelDirectory().
    static std::string getNamePipesDirectory();
    /// The user that the daemon runs as.
    static std::string getDaemonUser();
    /// Directory of the callback scripts.
    static std::string getScriptsDirectory();
    /// The file whose lock prevents a second daemon from running.
    static std::string getLockFile();
    /// The file that contains the daemon's process id.
    static std::string getPidFile();
    /// Seconds between two checks of the clock; 0 when the key is absent.
    static int getTimeDriftSleepTime();
    /// The drift in seconds that counts as a changed clock; 0 when the key is
    /// absent.
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
