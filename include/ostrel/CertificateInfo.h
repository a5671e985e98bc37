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
/// writes for it. The library and the daemon use it; applications call
/// OstrelService::getCAInfo() and its twins. A value: copies are independent, and a
/// later change of the file does not change the object.
///
/// The file is one JSON object in UTF-8. If its "data_structure_version" is 1 or
/// more, every member below must be there under its own name. If it is 0 or less,
/// nothing else is read and the object keeps its values. Other members are skipped.
/// docs/FILES.md shows the bytes.
///
/// Threads: several threads may read one object at once; a change needs exclusive
/// access. Errors: std::runtime_error; members that were read before the failure
/// keep their new values. Blocking: reads one file, waits for nothing else.
///
///     ostrel::CertificateInfo info(accessor.certInfoPath(id));
///     info.getMap().at("issuedTo");
class OSTREL_API CertificateInfo
{
public:
    /// Every member empty, false or 0.
    CertificateInfo();

    /// The summary in the file `path`. Throws as read().
    CertificateInfo(const std::string& path);

    virtual ~CertificateInfo();

    /// Reads the file `path`. Throws std::runtime_error when the file does not
    /// exist, when it cannot be read, and when it is not one complete document
    /// with every member.
    void read(const std::string& path);

    /// The summary as texts: "issuedTo", "issuedBy", "CA", "CASigned",
    /// "selfSigned" ("yes" or "no"), "validFrom", "validUntil" (seconds since 1970
    /// UTC), the addresses as "IP.1", "IP.2", ... and the host names as "DNS.1",
    /// "DNS.2", ...
    std::map<std::string, std::string> getMap() const;

    /// @{
    /// Distinguished names in UTF-8, as the daemon wrote them.
    std::string issuerName;
    std::string subjectName;
    /// @}
    bool isCA = false;         ///< Whether the certificate may sign others.
    bool isSelfSigned = false; ///< Whether its own key signed it.
    /// @{
    /// Start and end of the validity, in seconds since 1970 UTC. Not compared with
    /// any clock.
    std::uint64_t validFrom = 0;
    std::uint64_t validUntil = 0;
    /// @}
    /// @{
    /// The addresses and host names that it is valid for, in the file's order.
    std::vector<std::string> validIPs;
    std::vector<std::string> validHostnames;
    /// @}
};

/// Writes the summary for people, one item on each line, and flushes `out`.
OSTREL_API std::ostream& operator<<(std::ostream& out, const CertificateInfo& info);

/// Reads the summary from the root of a document; the JSON reader calls it.
/// Throws std::runtime_error, "Error: Bad format for Certificate info file!",
/// when a member is missing, of another type or out of range.
OSTREL_API void operator>>=(const cxxtools::SerializationInfo& root, CertificateInfo& info);

/// "yes" or "no".
OSTREL_API std::string boolToString(bool value);

} // namespace ostrel
