#include <ostrel/Tools.h>

#include "tools/TextFile.h"
#include "tools/Trace.h"
#include "tools/UserDatabase.h"

#include <unistd.h>

namespace ostrel
{

std::string Tools::getUserName()
{
    const UserEntry user = userById(getUid());
    return user.isFound() ? user->pw_name : std::string();
}

uid_t Tools::getUid()
{
    return ::geteuid();
}

pid_t Tools::getPid()
{
    return ::getpid();
}

bool Tools::isUserExist(const std::string& userName)
{
    return userByName(userName).isFound();
}

bool Tools::isGroupExist(const std::string& groupName)
{
    return groupByName(groupName).isFound();
}

gid_t Tools::getGroupId(const std::string& groupName)
{
    const GroupEntry group = groupByName(groupName);
    if (!group.isFound()) {
        // Intended: the same result as for the group with the id 0.
        return 0;
    }
    trace("Group Id: ", groupName, " - ", std::to_string(group->gr_gid));
    return group->gr_gid;
}

bool Tools::isUserMemberOfGroup(const std::string& userName, const std::string& groupName)
{
    const GroupEntry group = groupByName(groupName);
    if (!group.isFound() || !isUserExist(userName)) {
        return false;
    }
    for (char** member = group->gr_mem; *member != nullptr; ++member) {
        if (userName == *member) {
            return true;
        }
    }
    // Intended: a primary group that does not list the user does not count.
    return false;
}

std::vector<std::uint32_t> Tools::getGroups(const std::string& userName)
{
    std::vector<std::uint32_t> groups;
    const TextFile file = readTextFile("/etc/group");
    for (TextLines lines(file.text); !lines.isAtEnd();) {
        const std::string_view line = lines.next();
        // Intended: a mention anywhere in the line counts, except at its start.
        const std::size_t mention = line.find(userName);
        if (mention == std::string_view::npos || mention == 0) {
            continue;
        }
        const std::string name(line.substr(0, line.find(':')));
        const GroupEntry group = groupByName(name);
        if (group.isFound()) {
            groups.push_back(group->gr_gid);
            trace("Group: ", name, " - ", std::to_string(group->gr_gid));
        }
    }
    return groups;
}

} // namespace ostrel
