#pragma once

#include <string>

namespace support
{

/// The user and group database of one test: the files of its private /etc and
/// nothing beside them.
class Accounts
{
public:
    /// Keeps the machine's users and groups, from the files alone.
    Accounts();

    /// Replace a whole file, or add one line to it.
    static void setUsers(const std::string& text);
    static void setGroups(const std::string& text);
    static void addUser(const std::string& line);
    static void addGroup(const std::string& line);

    /// Whether a file can be given to anybody but root: an ordinary user's
    /// namespace holds no other id.
    static bool hasOtherIds();
};

} // namespace support
