#pragma once

#include <string>

namespace support
{

/// The private directory of the sandbox that the test runs in. Throws outside a
/// sandbox, where /etc is the machine's own and no test may write it.
std::string boxDirectory();

/// The device that one test runs on: a configuration in the test's private
/// /etc, and separate directories for everything else.
///
/// A process reads the daemon configuration once. A test that needs a different
/// one writes it before its first call to the library.
class Device
{
public:
    /// Writes a valid daemon configuration and creates the directories.
    Device();

    /// Replaces a file of the machine's /etc, for this test only.
    static void replaceSystemFile(const std::string& path, const std::string& text);

    /// Replaces the daemon configuration.
    static void writeDaemonConfiguration(const std::string& text);

    /// Writes the configuration of a service and creates its pipe directory.
    void addService(const std::string& name, const std::string& configuration) const;

    /// The root of the stores.
    const std::string& storeDirectory() const { return m_storeDirectory; }
    /// The root of the pipes and the volatile files.
    const std::string& pipesDirectory() const { return m_pipesDirectory; }
    /// The directory of the service configurations.
    const std::string& serviceDirectory() const { return m_serviceDirectory; }

private:
    std::string m_storeDirectory;
    std::string m_pipesDirectory;
    std::string m_serviceDirectory;
};

} // namespace support
