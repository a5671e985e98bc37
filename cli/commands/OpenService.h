#pragma once

#include <ostrelApi/OstrelService.h>

#include <string>

namespace ostrelctl
{

/// The service that the command line names. Throws Failure where it does not
/// exist.
ostrelApi::OstrelService openService(const std::string& name);

} // namespace ostrelctl
