#pragma once

#include <ostrel/Export.h>

#include <string>
#include <vector>

namespace ostrel
{

/// The set of certificate ids of one store; the reader and writer of its file
/// "list.txt". The library and the daemon use it. A value: copies are independent.
/// Ids are unique. Every output is in ascending order, byte by byte, so "10" comes
/// before "9".
///
/// The file contains one id on each line, and each line ends with a line feed.
/// Readers skip empty lines; everything else on a line is the id. docs/FILES.md
/// shows the bytes.
///
/// Threads: several threads may read one object at once; a change needs exclusive
/// access. Errors: std::runtime_error when a file cannot be opened; a later read or
/// write error is not reported. Blocking: reads or writes one file, waits for
/// nothing else.
///
///     ostrel::CertificateIdList ids("9,10,9", ',');
///     ids.toArray(); // "10", "9"
class OSTREL_API CertificateIdList
{
public:
    /// An empty set.
    CertificateIdList() = default;

    /// The ids of the list file `path`. Throws as readFromFile().
    CertificateIdList(const std::string& path);

    /// The pieces between the separators of `text`, including empty ones. A
    /// separator at the very end adds no piece.
    CertificateIdList(const std::string& text, char separator);

    /// These ids. A repeated id counts once.
    CertificateIdList(const std::vector<std::string>& ids);

    /// Whether `id` is in the set.
    bool exist(const std::string& id) const;

    /// All ids, ascending.
    std::vector<std::string> toArray() const;

    /// All ids, ascending, each followed by `separator`, including the last.
    std::string toTextList(const std::string& separator) const;

    /// Adds the ids of the list file `path`. Throws std::runtime_error when the
    /// file cannot be opened; then the set does not change.
    void readFromFile(const std::string& path);

    /// Writes the list file `path`, one line with each write. Creates an absent
    /// file and replaces the content of an existing one; `truncate` is ignored.
    /// Throws std::runtime_error when the file cannot be opened.
    void writeIntoFile(const std::string& path, bool truncate) const;

private:
    // Ascending and unique between calls.
    std::vector<std::string> m_ids;
};

} // namespace ostrel
