#pragma once

#include <string>

namespace support
{

/// The private directory of the box that the test runs in. Throws when there is
/// none: then the /etc in sight is the machine's own, which no test may write.
std::string boxDirectory();

/// The device that one test runs on: its configuration in the test's private
/// /etc, and directories of its own for everything else.
///
/// The daemon's configuration is read once in a process; a test that wants one
/// of its own writes it before the first call into the library.
class Device
{
public:
    /// Writes a good daemon configuration and makes the directories.
    Device();

    /// Replaces a file that the machine has in /etc, for this test alone.
    static void replaceSystemFile(const std::string& path, const std::string& text);

    /// Replaces the daemon's configuration.
    static void writeDaemonConfiguration(const std::string& text);

    /// Writes the configuration of a service and makes its pipe directory.
    void addService(const std::string& name, const std::string& configuration) const;

    /// Root of the stores.
    const std::string& storeDirectory() const { return m_storeDirectory; }
    /// Root of the pipes and the volatile files.
    const std::string& pipesDirectory() const { return m_pipesDirectory; }
    /// Directory of the services' configurations.
    const std::string& serviceDirectory() const { return m_serviceDirectory; }

private:
    std::string m_storeDirectory;
    std::string m_pipesDirectory;
    std::string m_serviceDirectory;
};

} // namespace support
