#pragma once

#include <string>

namespace bench
{

/// The device that the benchmark runs on: a daemon's configuration in the box's
/// private /etc, and directories below the box's own directory. Replaces an
/// earlier device and its services. Throws outside of a box.
class Device
{
public:
    Device();

    /// Configures a service with a store of CAs, and makes its directories.
    /// Returns its name.
    std::string addService(const std::string& name) const;

    /// Configures the same service without directories.
    std::string addServiceWithoutDirectories(const std::string& name) const;

    /// Makes a directory for pipes of another name, and returns the common prefix of their
    /// paths. The daemon does not know them.
    std::string addPipes(const std::string& name) const;

    /// The common prefix of the paths of a service's pipes.
    std::string pipesBase(const std::string& service) const;

    /// A directory for other files.
    const std::string& directory() const { return m_storeDirectory; }

    /// Removes a service's configuration and what does not survive a power cut. Its store
    /// stays.
    void removeService(const std::string& name) const;

private:
    const std::string m_storeDirectory;
    const std::string m_pipesDirectory;
};

/// The group of root, which every box has.
constexpr const char managementGroup[] = "root";

/// Writes `text` to the file `path`.
void writeFile(const std::string& path, const std::string& text);

/// The text of the file `path`.
std::string textOfFile(const std::string& path);

} // namespace bench
