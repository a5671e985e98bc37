#include "support/Accounts.h"

#include "support/Device.h"
#include "support/TextFiles.h"

#include <fstream>

namespace support
{

namespace
{

const char usersFile[] = "/etc/passwd";
const char groupsFile[] = "/etc/group";

} // namespace

Accounts::Accounts() : m_formerUsers(readText(usersFile)), m_formerGroups(readText(groupsFile))
{
    Device::replaceSystemFile("/etc/nsswitch.conf", "passwd: files\ngroup: files\n");
}

Accounts::~Accounts()
{
    setUsers(m_formerUsers);
    setGroups(m_formerGroups);
}

void Accounts::setUsers(const std::string& text)
{
    Device::replaceSystemFile(usersFile, text);
}

void Accounts::setGroups(const std::string& text)
{
    Device::replaceSystemFile(groupsFile, text);
}

void Accounts::addUser(const std::string& line)
{
    setUsers(readText(usersFile) + line + '\n');
}

void Accounts::addGroup(const std::string& line)
{
    setGroups(readText(groupsFile) + line + '\n');
}

bool Accounts::hasOtherIds()
{
    std::ifstream map("/proc/self/uid_map");
    unsigned long inside = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    map >> inside >> outside >> count;
    return count > 1;
}

} // namespace support
