#pragma once

#include <ostrel/CertificateIdList.h>
#include <ostrel/Export.h>

#include <map>
#include <string>

namespace ostrel
{

/// The map from certificate id to the common name (CN) of the certificate's
/// subject, for one store; the reader and writer of its file "id_cn.map". The
/// library and the daemon use it. A value: copies are independent.
///
///     const ostrel::CertificateIdCnMap map(accessor.cnMapPath());
///     for (const auto& entry : map.entries()) ... // entry.first is the id
///
/// The file contains one entry on each line: the id, one space, the CN. Readers
/// skip lines without a space, remove the blanks before the CN, and use the first
/// line of an id. docs/FILES.md shows the bytes.
///
/// Threads: several threads may read one object at once; a change needs exclusive
/// access. Errors: std::runtime_error when a file cannot be opened; a later read or
/// write error is not reported. Blocking: reads or writes one file, waits for
/// nothing else.
class OSTREL_API CertificateIdCnMap
{
public:
    /// An empty map.
    CertificateIdCnMap() = default;

    /// The entries of the map file `path`. Throws as readFromFile().
    CertificateIdCnMap(const std::string& path);

    /// Adds the entries of the map file `path`. An id that has an entry keeps it.
    /// Throws std::runtime_error when the file cannot be opened; then the map does
    /// not change.
    void readFromFile(const std::string& path);

    /// Writes the map file `path`, one line with each write. Creates an absent file
    /// and replaces the content of an existing one; `truncate` is ignored. Throws
    /// std::runtime_error when the file cannot be opened.
    void writeIntoFile(const std::string& path, bool truncate) const;

    /// All ids, ascending.
    CertificateIdList toCertificateIdList() const;

    /// Whether `id` has an entry.
    bool certificateIdExist(const std::string& id) const;

    /// @{
    /// The entries by ascending id. The reference is valid as long as this object.
    const std::map<std::string, std::string>& entries() const { return m_entries; }
    std::map<std::string, std::string>& entries() { return m_entries; }
    /// @}

private:
    std::map<std::string, std::string> m_entries;
};

} // namespace ostrel
