#pragma once

#include <ostrel/Export.h>

#include <string>
#include <vector>

namespace ostrel
{

/// The set of certificate ids of one store, and the reader and writer of its
/// list file "list.txt". A value: ids are unique, and every output is in
/// ascending byte-wise order, so "10" comes before "9".
///
/// The file holds one id on each line, ended by a line feed. On reading, empty
/// lines are skipped and everything else on a line is the id. docs/FILES.md
/// shows the bytes.
///
/// Threads: as any value. Errors: std::runtime_error where a file cannot be
/// opened; a read or write error after that is not reported. Blocking: on
/// reading or writing one file.
///
///     ostrel::CertificateIdList ids("9,10,9", ',');
///     ids.toArray(); // "10", "9"
class OSTREL_API CertificateIdList
{
public:
    /// No id.
    CertificateIdList() = default;

    /// The ids of a list file; throws as readFromFile() does.
    CertificateIdList(const std::string& path);

    /// The pieces between the separators of `text`, empty ones included; a
    /// separator at the very end gives no further piece.
    CertificateIdList(const std::string& text, char separator);

    /// These ids; repeated ones count once.
    CertificateIdList(const std::vector<std::string>& ids);

    /// Whether `id` is in the set.
    bool exist(const std::string& id) const;

    /// All ids, ascending.
    std::vector<std::string> toArray() const;

    /// Every id, the last one too, followed by `separator`.
    std::string toTextList(const std::string& separator) const;

    /// Adds the ids of a list file to those already there.
    void readFromFile(const std::string& path);

    /// Writes the list file, each line at once. A missing file is made and an
    /// existing one replaced, whatever `truncate` says.
    void writeIntoFile(const std::string& path, bool truncate) const;

private:
    // Ascending and unique between calls.
    std::vector<std::string> m_ids;
};

} // namespace ostrel
