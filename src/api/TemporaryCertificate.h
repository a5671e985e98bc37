#pragma once

// The file through which a certificate given as text reaches a reader of files.

#include <string>

namespace ostrelApi
{

/// A new name in the service's pipe directory, where the daemon reads too.
std::string temporaryCertificatePath(const std::string& serviceName);

/// Makes the file with `text` in it. As with a plain output stream, a file that
/// cannot be opened or written is not told; none is left then, for a part of a
/// certificate can be the same as another one.
void writeTemporaryCertificate(const std::string& path, const std::string& text);

/// Removes the file; a failure is traced as the path between two texts.
void removeTemporaryCertificate(const std::string& path, const std::string& textBefore,
                                const std::string& textBehind = "");

} // namespace ostrelApi
