#pragma once

#include <string>

#include <sys/types.h>

namespace support
{

/// The user and group database of one test: the files of its private /etc and
/// nothing beside them.
class Accounts
{
public:
    /// Keeps the machine's users and groups, from the files alone.
    Accounts();
    /// Puts them back.
    ~Accounts();
    Accounts(const Accounts&) = delete;
    Accounts& operator=(const Accounts&) = delete;

    /// Replace a whole file, or add one line to it.
    static void setUsers(const std::string& text);
    static void setGroups(const std::string& text);
    static void addUser(const std::string& line);
    static void addGroup(const std::string& line);

    /// Whether a file can be given to anybody but root: an ordinary user's
    /// namespace holds no other id.
    static bool hasOtherIds();

    /// The id of a group that a file can be given to: one that the test is not
    /// in where there is such a one, and else its own.
    static gid_t foreignGroup() { return hasOtherIds() ? 4242 : 0; }

private:
    const std::string m_formerUsers;
    const std::string m_formerGroups;
};

} // namespace support
