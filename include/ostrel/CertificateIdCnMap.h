#pragma once

#include <ostrel/CertificateIdList.h>
#include <ostrel/Export.h>

#include <map>
#include <string>

namespace ostrel
{

/// The common name (CN) of each certificate's subject, by certificate id, for
/// one store; the reader and writer of its file "id_cn.map". A value.
///
/// The file holds one entry on each line: the id, one space, the CN. On
/// reading, lines without a space are skipped, blanks in front of the CN are
/// dropped, and the first line of an id wins. docs/FILES.md shows the bytes.
///
/// Threads: as any value. Errors: std::runtime_error where a file cannot be
/// opened; a read or write error after that is not reported. Blocking: on
/// reading or writing one file.
class OSTREL_API CertificateIdCnMap
{
public:
    /// No entry.
    CertificateIdCnMap() = default;

    /// The entries of a map file; throws as readFromFile() does.
    CertificateIdCnMap(const std::string& path);

    /// Adds the entries of a map file to those already there.
    void readFromFile(const std::string& path);

    /// Writes the map file, each line at once. A missing file is made and an
    /// existing one replaced, whatever `truncate` says.
    void writeIntoFile(const std::string& path, bool truncate) const;

    /// All ids.
    CertificateIdList toCertificateIdList() const;

    /// Whether `id` has an entry.
    bool certificateIdExist(const std::string& id) const;

    /// @{
    /// The entries by ascending id, to look at and to fill.
    const std::map<std::string, std::string>& entries() const { return m_entries; }
    std::map<std::string, std::string>& entries() { return m_entries; }
    /// @}

private:
    std::map<std::string, std::string> m_entries;
};

} // namespace ostrel
