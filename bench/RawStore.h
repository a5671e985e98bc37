#pragma once

// The queries of an external store by hand: the library's system calls, and the
// minimum of work for the same results.

#include <string>
#include <vector>

namespace bench
{

/// Reads a file to its end and returns its length.
std::size_t lengthByHand(const std::string& path);

/// The ids of a list file, each once, in ascending order.
std::vector<std::string> idsByHand(const std::string& listPath);

/// The ids with the common name `cn` in a map file, each once, in ascending order.
std::vector<std::string> idsByCNByHand(const std::string& mapPath, const std::string& cn);

/// The first id of the list whose file in `directory` contains the same certificate
/// as the file `path`; empty if no file does.
std::string idOfCertificateByHand(const std::string& listPath, const std::string& directory,
                                  const std::string& path);

} // namespace bench
