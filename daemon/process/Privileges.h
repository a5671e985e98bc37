#pragma once

// How a service's process gives up the rights of root.

#include <string>
#include <vector>

#include <sys/types.h>

namespace ostreld::privileges
{

/// If this process is root's and `daemonUser` is another user: hands the directories of
/// `service` over to that user and becomes it, with its own groups and `groups`, without
/// capabilities. Throws Refusal if the user does not exist, and std::runtime_error for a
/// failed system call.
void giveUp(const std::string& service, const std::vector<gid_t>& groups);

/// Whether giveUp() changed the user of this process.
bool areGivenUp();

/// Whether this process is a member of all of `groups`.
bool areRight(const std::vector<gid_t>& groups);

} // namespace ostreld::privileges
