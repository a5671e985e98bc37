#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

namespace cxxtools
{
class SerializationInfo;
}

namespace ostrel
{

/// The summary of one certificate, read from the ".info" file that the daemon
/// writes beside it. A value, filled once; the file is not watched.
///
/// The file is one JSON object in UTF-8. A "data_structure_version" of 1 or
/// more is followed by every member below, under its own name; with 0 or less
/// nothing else is read and the record keeps its values. Members with other
/// names are skipped. docs/FILES.md shows the bytes.
///
/// Threads: as any value. Errors: std::runtime_error, after which the members
/// read before the failure keep their new values. Blocking: on reading one
/// file.
///
///     ostrel::CertificateInfo info(accessor.certInfoPath(id));
///     info.getMap().at("issuedTo");
class OSTREL_API CertificateInfo
{
public:
    /// An empty record.
    CertificateInfo();

    /// What the file `path` holds; throws as read() does.
    CertificateInfo(const std::string& path);

    virtual ~CertificateInfo();

    /// Reads the file `path`. Throws std::runtime_error when there is none,
    /// when it cannot be opened or read, and when it is not one complete
    /// document with every member.
    void read(const std::string& path);

    /// "issuedTo", "issuedBy", "CA", "CASigned", "selfSigned" ("yes" or "no"),
    /// "validFrom", "validUntil", and the addresses and host names as "IP.1",
    /// "IP.2", ... and "DNS.1", "DNS.2", ...
    std::map<std::string, std::string> getMap() const;

    /// @{
    /// Distinguished names, in UTF-8, as the daemon wrote them.
    std::string issuerName;
    std::string subjectName;
    /// @}
    bool isCA = false;         ///< Whether it may sign other certificates.
    bool isSelfSigned = false; ///< Whether it was signed by its own key.
    /// @{
    /// Start and end of its validity, seconds since 1970 UTC; only handed on.
    std::uint64_t validFrom = 0;
    std::uint64_t validUntil = 0;
    /// @}
    /// @{
    /// What it is valid for, in the order of the file.
    std::vector<std::string> validIPs;
    std::vector<std::string> validHostnames;
    /// @}
};

/// Writes the record for people to read, one item on each line, and flushes.
OSTREL_API std::ostream& operator<<(std::ostream& out, const CertificateInfo& info);

/// Reads the record from a document's root; cxxtools' deserializers call it.
/// Throws std::runtime_error, "Error: Bad format for Certificate info file!",
/// when a member is missing, of another type or out of range.
OSTREL_API void operator>>=(const cxxtools::SerializationInfo& root, CertificateInfo& info);

/// "yes" or "no".
OSTREL_API std::string boolToString(bool value);

} // namespace ostrel
