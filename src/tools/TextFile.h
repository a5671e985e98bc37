#pragma once

// Text files: a file is read once, as a whole, and its lines are views into the text.

#include <iosfwd>
#include <string>
#include <string_view>

namespace ostrel
{

/// The result of reading a file. If the file cannot be opened, `text` is empty. If a read
/// fails (a directory, a bad disk), `text` is what was read before and `isComplete` is
/// false.
struct TextFile {
    bool isOpen = false;
    bool isComplete = false;
    /// The errno of the failure; 0 when the file is complete.
    int error = 0;
    std::string text;
};

/// Reads the file `path` to its end. Reports failures in the result; throws only
/// std::bad_alloc.
[[nodiscard]] TextFile readTextFile(const std::string& path);

/// Reads `in` to its end, or to an error, and returns the text.
[[nodiscard]] std::string readRest(std::istream& in);

/// The lines of a text, exactly as a loop reads them that tests the end-of-file flag of a
/// stream before each std::getline:
///
///     for (TextLines lines(text); !lines.isAtEnd();) {
///         std::string_view line = lines.next();
///
/// So one more, empty line follows a line feed at the end of the text, and an empty text
/// is one empty line. The text must outlive this object and the lines.
class TextLines
{
public:
    explicit TextLines(std::string_view text) : m_rest(text) {}

    [[nodiscard]] bool isAtEnd() const { return m_isAtEnd; }

    /// Whether a character is left. Unlike !isAtEnd(), it is false after the line feed at
    /// the end of the text.
    [[nodiscard]] bool hasFurtherLine() const { return !m_rest.empty(); }

    /// Returns the next line without its line feed.
    std::string_view next();

private:
    std::string_view m_rest;
    bool m_isAtEnd = false;
};

} // namespace ostrel
