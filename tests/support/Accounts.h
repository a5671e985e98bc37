#pragma once

#include <string>

#include <sys/types.h>

namespace support
{

/// The user and group database of one test: only the files of its private /etc.
class Accounts
{
public:
    /// Saves the users and groups, and makes lookups read the files only.
    Accounts();
    /// Restores the saved users and groups.
    ~Accounts();
    Accounts(const Accounts&) = delete;
    Accounts& operator=(const Accounts&) = delete;

    /// Replace a whole file, or append one line to it.
    static void setUsers(const std::string& text);
    static void setGroups(const std::string& text);
    static void addUser(const std::string& line);
    static void addGroup(const std::string& line);

    /// Whether chown() can give a file to another user than root. In an
    /// ordinary user's namespace, no other id exists.
    static bool hasOtherIds();

    /// The id of a group that a file can be given to: a group that the test is
    /// not in, or the test's own group where the namespace has no other.
    static gid_t foreignGroup() { return hasOtherIds() ? 4242 : 0; }

private:
    const std::string m_formerUsers;
    const std::string m_formerGroups;
};

} // namespace support
