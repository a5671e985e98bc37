#pragma once

#include <string>
#include <vector>

namespace ostrelctl
{

/// One certificate of a PEM file.
struct GivenCertificate {
    /// The file, and which one of it where it has several: "bundle.pem, 3 of 9".
    std::string source;
    /// Its block, begin and end lines included.
    std::string pem;
};

/// Every certificate of a PEM file, in order; "-" is the standard input. Throws
/// Failure when it cannot be read, holds none, holds half of one, or is DER.
std::vector<GivenCertificate> certificatesOf(const std::string& path);

/// Those of several files, one after the other. All of them are read before
/// anything is done with the first.
std::vector<GivenCertificate> certificatesOf(const std::vector<std::string>& paths);

} // namespace ostrelctl
