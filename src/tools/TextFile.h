#pragma once

// Line files: a file is read once, whole, and walked as views into it.

#include <iosfwd>
#include <string>
#include <string_view>

namespace ostrel
{

/// The result of reading a file. A file that cannot be opened has no text. A
/// file whose reading fails half-way (a directory, a failing disk) has the text
/// up to there and is not complete.
struct TextFile {
    bool isOpen = false;
    bool isComplete = false;
    /// The errno of the failure; 0 when the file is complete.
    int error = 0;
    std::string text;
};

/// Reads the file `path` to its end.
TextFile readTextFile(const std::string& path);

/// Reads what is left of `in`, which afterwards is at its end.
std::string readRest(std::istream& in);

/// Walks the lines of a text exactly as a loop that tests a stream's
/// end-of-file flag before each std::getline does:
///
///     for (TextLines lines(text); !lines.isAtEnd();) {
///         std::string_view line = lines.next();
///
/// A line feed at the very end is therefore followed by one more, empty line,
/// and an empty text is one empty line. The text must outlive the walk.
class TextLines
{
public:
    explicit TextLines(std::string_view text) : m_rest(text) {}

    bool isAtEnd() const { return m_isAtEnd; }

    /// Whether a character is left to read: unlike !isAtEnd(), false right
    /// after the line feed that ends the text.
    bool hasFurtherLine() const { return !m_rest.empty(); }

    /// The next line without its line feed.
    std::string_view next();

private:
    std::string_view m_rest;
    bool m_isAtEnd = false;
};

} // namespace ostrel
