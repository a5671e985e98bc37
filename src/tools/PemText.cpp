#include "tools/PemText.h"

#include "tools/TextFile.h"

namespace ostrel
{

namespace
{

constexpr std::string_view beginLine = "-----BEGIN CERTIFICATE-----";
constexpr std::string_view endLine = "-----END CERTIFICATE-----";

bool skipPastBeginLine(TextLines& lines)
{
    while (lines.hasFurtherLine()) {
        if (lines.next() == beginLine) {
            return true;
        }
    }
    return false;
}

void appendLine(std::string& text, std::string_view line)
{
    text.append(line);
    text += '\n';
}

} // namespace

bool isSameCertificateText(std::string_view a, std::string_view b)
{
    TextLines linesA(a);
    TextLines linesB(b);
    if (!skipPastBeginLine(linesA) || !skipPastBeginLine(linesB)) {
        return false;
    }
    // Intended: a text that ends after equal lines counts as the same.
    while (linesA.hasFurtherLine() && linesB.hasFurtherLine()) {
        const std::string_view line = linesA.next();
        if (line != linesB.next()) {
            return false;
        }
        if (line == endLine) {
            break;
        }
    }
    return true;
}

std::string firstCertificateOf(std::string_view text)
{
    TextLines lines(text);
    std::string_view line = lines.next();
    while (line != beginLine && !lines.isAtEnd()) {
        line = lines.next();
    }
    std::string certificate;
    appendLine(certificate, line);
    while (!lines.isAtEnd() && line != endLine) {
        line = lines.next();
        appendLine(certificate, line);
    }
    return certificate;
}

std::string withUnixLineEnds(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t end = 0; (end = text.find("\r\n")) != std::string_view::npos;) {
        result.append(text, 0, end);
        text.remove_prefix(end + 1);
    }
    return result.append(text);
}

} // namespace ostrel
