#include "Context.h"

#include <algorithm>

namespace ostrelctl
{

namespace
{

bool isListed(const std::string& name)
{
    const auto names = OstrelService::getServiceList();
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

OstrelService openService(const std::string& name)
{
    const Failure missing(ExitStatus::NoService, "there is no service '" + name + "'",
                          "`ostrelctl services` lists them");
    if (name.find('/') != std::string::npos) {
        throw missing;
    }
    try {
        return OstrelService(name);
    } catch (const std::exception&) {
        if (!isListed(name)) {
            throw missing;
        }
        throw;
    }
}

} // namespace ostrelctl
