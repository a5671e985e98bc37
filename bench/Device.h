#pragma once

#include <string>

namespace bench
{

/// The device that the benchmark runs on: a daemon's configuration in the
/// box's private /etc, and directories below the box's own. Takes the place of
/// a former one, whose services are no more. Throws outside of a box.
class Device
{
public:
    Device();

    /// Configures a service with a store of CAs, and makes its directories.
    /// Returns its name.
    std::string addService(const std::string& name) const;

    /// The same for one whose directories are missing.
    std::string addServiceWithoutDirectories(const std::string& name) const;

    /// What the paths of a service's pipes begin with.
    std::string pipesBase(const std::string& service) const;

    /// A directory for anything else.
    const std::string& directory() const { return m_storeDirectory; }

private:
    const std::string m_storeDirectory;
    const std::string m_pipesDirectory;
};

/// A group that every box has, root's own.
constexpr const char managementGroup[] = "root";

/// Makes the file `path` with `text` in it.
void writeFile(const std::string& path, const std::string& text);

/// The text of the file `path`.
std::string textOfFile(const std::string& path);

} // namespace bench
