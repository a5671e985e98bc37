#pragma once

// The paths that the accessors of both kinds share. Persistent files survive a power cut;
// volatile files may be in memory, and the daemon writes them again when it starts.

#include <ostrel/DaemonConfiguration.h>

#include <string>

namespace ostrel
{

[[nodiscard]] inline std::string below(const std::string& directory, const std::string& name)
{
    return directory + '/' + name;
}

/// The directory of a store's certificates. Throws as
/// DaemonConfiguration::getOstrelDirectory().
[[nodiscard]] inline std::string persistentDirectory(const std::string& service,
                                                     const std::string& target)
{
    return below(below(DaemonConfiguration::getOstrelDirectory(), service), target);
}

/// The directory of a store's volatile files. Throws as
/// DaemonConfiguration::getNamePipesDirectory().
[[nodiscard]] inline std::string volatileDirectory(const std::string& service,
                                                   const std::string& target)
{
    return below(below(DaemonConfiguration::getNamePipesDirectory(), service), target);
}

/// The directory of the persistent files other than the certificates, below theirs.
constexpr const char cachedDirectoryName[] = ".cacheddata";

} // namespace ostrel
