#include "commands/Groups.h"

#include "base/Refusal.h"

#include <ostrel/Tools.h>

namespace ostreld
{

using ostrel::ServiceConfiguration;

namespace
{

gid_t groupNamed(const std::string& name, const char* what)
{
    if (!ostrel::Tools::isGroupExist(name)) {
        throw Refusal(BadConfiguration,
                      std::string("the ") + what + " group '" + name + "' does not exist");
    }
    return ostrel::Tools::getGroupId(name);
}

} // namespace

std::unique_ptr<ServiceConfiguration> configurationOf(const std::string& service)
{
    try {
        return std::make_unique<ServiceConfiguration>(service);
    } catch (const std::runtime_error& caught) {
        throw Refusal(BadConfiguration, caught.what());
    }
}

gid_t managementGroupOf(const ServiceConfiguration& configuration)
{
    return groupNamed(configuration.m_managmentGroup, "managment");
}

std::vector<gid_t> groupsOf(const ServiceConfiguration& configuration)
{
    std::vector<gid_t> groups = {managementGroupOf(configuration)};
    if (!configuration.m_keyGroup.empty()) {
        groups.push_back(groupNamed(configuration.m_keyGroup, "key"));
    }
    return groups;
}

std::vector<gid_t> groupsOf(const std::string& service)
{
    return groupsOf(*configurationOf(service));
}

} // namespace ostreld
