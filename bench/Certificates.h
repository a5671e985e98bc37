#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench
{

/// A self-signed CA as PEM text, and the id that the daemon gives it.
struct CertificateFile {
    std::string id;
    std::string pem;
};

/// At least `count` CAs, each one different. The same ones at each call.
const std::vector<CertificateFile>& certificateFiles(std::size_t count);

/// Writes the first `count` of them into the CA store of a service that nobody serves, as the
/// daemon leaves them for its next start. Returns the paths of the certificates.
std::vector<std::string> fillStore(const std::string& service, std::size_t count);

/// Reads and parses the certificates in these files, and returns how many there are.
std::size_t parsedByHand(const std::vector<std::string>& paths);

} // namespace bench
