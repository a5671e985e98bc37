#pragma once

// The temporary file that hands a certificate, given as text, to a reader of files: to
// the daemon for an import, or to a comparison in this process.

#include <string>

namespace ostrelApi
{

/// A path with a random name in `directory`. It must be the service's pipe directory: the
/// daemon reads such files only there.
[[nodiscard]] std::string temporaryCertificatePath(const std::string& directory);

/// Creates the file with the content `text`. Returns 0, or the errno of the failure.
/// Leaves no file after a failure, because a part of a certificate can compare equal to
/// a stored one.
[[nodiscard]] int writeTemporaryCertificate(const std::string& path, const std::string& text);

/// Removes the file. Traces a failure: `textBefore`, the path, `textBehind`.
void removeTemporaryCertificate(const std::string& path, const std::string& textBefore,
                                const std::string& textBehind = "");

} // namespace ostrelApi
