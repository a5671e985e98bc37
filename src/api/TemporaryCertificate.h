#pragma once

// The file through which a certificate given as text reaches a reader of files.

#include <string>

namespace ostrelApi
{

/// A new name in `directory`, the service's pipe directory, where the daemon
/// reads too.
[[nodiscard]] std::string temporaryCertificatePath(const std::string& directory);

/// Creates the file with `text` in it. Returns 0, or the errno of the failure. A
/// failure leaves no file, because a part of a certificate can compare equal to
/// another certificate.
int writeTemporaryCertificate(const std::string& path, const std::string& text);

/// Removes the file. Traces a failure as the path between the two texts.
void removeTemporaryCertificate(const std::string& path, const std::string& textBefore,
                                const std::string& textBehind = "");

} // namespace ostrelApi
