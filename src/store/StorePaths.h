#pragma once

// Where a store lies: the pieces that the accessors of both kinds share.

#include <ostrel/DaemonConfiguration.h>

#include <string>

namespace ostrel
{

inline std::string below(const std::string& directory, const std::string& name)
{
    return directory + '/' + name;
}

/// Directory of a store's certificates.
inline std::string persistentDirectory(const std::string& service, const std::string& target)
{
    return below(below(DaemonConfiguration::getOstrelDirectory(), service), target);
}

/// Directory of a store's volatile files.
inline std::string volatileDirectory(const std::string& service, const std::string& target)
{
    return below(below(DaemonConfiguration::getNamePipesDirectory(), service), target);
}

constexpr const char cachedDirectoryName[] = ".cacheddata";

} // namespace ostrel
