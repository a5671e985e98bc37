#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ostreld
{

/// The text of a file whose lines are sorted by their first words. To change one line moves
/// the bytes after it, which is quick in a text of thousands of lines, too.
class SortedLines
{
public:
    const std::string& text() const { return m_text; }

    /// Puts a line in its place. `rest` is what follows its first word: a blank and more, or
    /// nothing, and the line end.
    void put(const std::string& word, const std::string& rest);

    /// Removes the line that begins with `word`, if there is one. `end` follows the word.
    void remove(std::string_view word, char end) noexcept;

private:
    int compare(std::size_t line, std::string_view word, char end) const noexcept;
    std::size_t placeOf(std::string_view word, char end) const noexcept;

    std::string m_text;
};

} // namespace ostreld
