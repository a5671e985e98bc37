#pragma once

// PEM certificates as text. The library contains no cryptography: a certificate is the
// lines from its BEGIN line to its END line. The functions throw only std::bad_alloc.

#include <string>
#include <string_view>

namespace ostrel
{

/// Whether the first certificates of two texts are the same, line by line. False when a
/// text has no BEGIN line. Intended: true when a text ends after equal lines.
[[nodiscard]] bool isSameCertificateText(std::string_view a, std::string_view b);

/// The first certificate of `text`, with a line feed after each line. Intended: a text
/// without a BEGIN line gives its last line.
[[nodiscard]] std::string firstCertificateOf(std::string_view text);

/// `text` with "\n" in the place of each "\r\n"; a "\r" alone stays.
[[nodiscard]] std::string withUnixLineEnds(std::string_view text);

} // namespace ostrel
