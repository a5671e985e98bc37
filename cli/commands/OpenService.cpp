#include "commands/OpenService.h"

#include "failure/Failure.h"

#include <algorithm>

namespace ostrelctl
{

using ostrelApi::OstrelService;

namespace
{

bool isListed(const std::string& name)
{
    const auto names = OstrelService::getServiceList();
    return std::find(names.begin(), names.end(), name) != names.end();
}

Failure missing(const std::string& name)
{
    return {ExitStatus::NoService, "there is no service '" + name + "'",
            "`ostrelctl services` lists them"};
}

} // namespace

OstrelService openService(const std::string& name)
{
    if (name.find('/') != std::string::npos) {
        throw missing(name);
    }
    try {
        return OstrelService(name);
    } catch (const std::exception&) {
        if (!isListed(name)) {
            throw missing(name);
        }
        throw;
    }
}

} // namespace ostrelctl
