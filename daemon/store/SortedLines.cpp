#include "store/SortedLines.h"

namespace ostreld
{

void SortedLines::put(const std::string& word, const std::string& rest)
{
    m_text.insert(placeOf(word, rest.front()), word + rest);
}

void SortedLines::remove(std::string_view word, char end) noexcept
{
    const std::size_t line = placeOf(word, end);
    if (line < m_text.size() && compare(line, word, end) == 0) {
        m_text.erase(line, m_text.find('\n', line) + 1 - line);
    }
}

// As a whole line ends before the text does, the character after an equal word exists.
int SortedLines::compare(std::size_t line, std::string_view word, char end) const noexcept
{
    const int order = m_text.compare(line, word.size(), word);
    return order != 0 ? order : m_text.compare(line + word.size(), 1, &end, 1);
}

// Halves the text between `from` and `to`, which are starts of lines.
std::size_t SortedLines::placeOf(std::string_view word, char end) const noexcept
{
    std::size_t from = 0;
    std::size_t to = m_text.size();
    while (from < to) {
        std::size_t line = from + (to - from) / 2;
        while (line > from && m_text[line - 1] != '\n') {
            --line;
        }
        if (compare(line, word, end) < 0) {
            from = m_text.find('\n', line) + 1;
        } else {
            to = line;
        }
    }
    return from;
}

} // namespace ostreld
