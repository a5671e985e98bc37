#pragma once

// The queries of an external store by hand: the library's system calls, and
// the least work that gives its results.

#include <string>
#include <vector>

namespace bench
{

/// Reads a file to its end: its length.
std::size_t lengthByHand(const std::string& path);

/// The ids of a list file: each once, ascending.
std::vector<std::string> idsByHand(const std::string& listPath);

/// The ids that a map file gives `cn` as common name: each once, ascending.
std::vector<std::string> idsByCNByHand(const std::string& mapPath, const std::string& cn);

/// The first id of the list whose file in `directory` holds the certificate
/// that the file `path` holds; empty when there is none.
std::string idOfCertificateByHand(const std::string& listPath, const std::string& directory,
                                  const std::string& path);

} // namespace bench
