#pragma once

// Look-ups in the system's user and group database through its reentrant
// functions, so that two threads may look up at once.

#include <cerrno>
#include <string>
#include <vector>

#include <grp.h>
#include <pwd.h>

namespace ostrel
{

/// What a look-up found: one entry and the buffer that its texts live in.
template <class Entry>
class DatabaseEntry
{
public:
    template <class Query, class Key>
    DatabaseEntry(Query query, Key key)
    {
        while (query(key, &m_entry, m_buffer.data(), m_buffer.size(), &m_found) == ERANGE) {
            m_buffer.resize(2 * m_buffer.size());
        }
    }
    // The entry points into itself and its buffer.
    DatabaseEntry(const DatabaseEntry&) = delete;
    DatabaseEntry& operator=(const DatabaseEntry&) = delete;

    bool isFound() const { return m_found != nullptr; }
    const Entry* operator->() const { return m_found; }

private:
    Entry m_entry{};
    Entry* m_found = nullptr;
    std::vector<char> m_buffer = std::vector<char>(1024);
};

using UserEntry = DatabaseEntry<passwd>;
using GroupEntry = DatabaseEntry<group>;

inline UserEntry userByName(const std::string& name)
{
    return {::getpwnam_r, name.c_str()};
}

inline UserEntry userById(uid_t uid)
{
    return {::getpwuid_r, uid};
}

inline GroupEntry groupByName(const std::string& name)
{
    return {::getgrnam_r, name.c_str()};
}

} // namespace ostrel
