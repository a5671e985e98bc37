#pragma once

// PEM certificates as text. The library holds no cryptography: a certificate
// is the lines from its BEGIN line to its END line.

#include <string>
#include <string_view>

namespace ostrel
{

/// Whether the first certificates of two texts are the same, line by line.
bool isSameCertificateText(std::string_view a, std::string_view b);

/// The first certificate of `text`, each line ended by a line feed. A text
/// without a BEGIN line gives its last line.
std::string firstCertificateOf(std::string_view text);

/// `text` with every "\r\n" turned into "\n"; a lone "\r" stays.
std::string withUnixLineEnds(std::string_view text);

} // namespace ostrel
