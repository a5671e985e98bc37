#pragma once

#include <ostrel/ServiceConfiguration.h>

#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ostreld
{

/// Reads the configuration of a service; throws Refusal, "Bad configuration".
std::unique_ptr<ostrel::ServiceConfiguration> configurationOf(const std::string& service);

/// The group that may call; throws Refusal if it does not exist.
gid_t managementGroupOf(const ostrel::ServiceConfiguration& configuration);

/// All groups that own files of a service; throws like the functions above.
std::vector<gid_t> groupsOf(const ostrel::ServiceConfiguration& configuration);
std::vector<gid_t> groupsOf(const std::string& service);

} // namespace ostreld
