#pragma once

// Look-ups in the system's databases of users and groups. They use the reentrant
// functions, so any thread may call them at any time. A failed look-up finds nothing.

#include <cerrno>
#include <string>
#include <vector>

#include <grp.h>
#include <pwd.h>

namespace ostrel
{

/// The result of a look-up: one entry, and the buffer that contains its texts.
template <class Entry>
class DatabaseEntry
{
public:
    // One copy for all its callers: the device's flash is small.
    template <class Query, class Key>
    [[gnu::noinline]] DatabaseEntry(Query query, Key key)
    {
        while (query(key, &m_entry, m_buffer.data(), m_buffer.size(), &m_found) == ERANGE) {
            m_buffer.resize(2 * m_buffer.size());
        }
    }
    // Not copyable: it contains pointers into itself and its buffer.
    DatabaseEntry(const DatabaseEntry&) = delete;
    DatabaseEntry& operator=(const DatabaseEntry&) = delete;

    [[nodiscard]] bool isFound() const { return m_found != nullptr; }
    /// The entry; call it only when isFound().
    const Entry* operator->() const { return m_found; }

private:
    Entry m_entry{};
    Entry* m_found = nullptr;
    std::vector<char> m_buffer = std::vector<char>(1024);
};

using UserEntry = DatabaseEntry<passwd>;
using GroupEntry = DatabaseEntry<group>;

[[nodiscard]] inline UserEntry userByName(const std::string& name)
{
    return {::getpwnam_r, name.c_str()};
}

[[nodiscard]] inline UserEntry userById(uid_t uid)
{
    return {::getpwuid_r, uid};
}

[[nodiscard]] inline GroupEntry groupByName(const std::string& name)
{
    return {::getgrnam_r, name.c_str()};
}

} // namespace ostrel
