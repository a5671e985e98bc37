#include "support/Document.h"

#include "support/TextFiles.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>
#include <stdexcept>

namespace support
{

namespace
{

constexpr std::size_t bytesInLine = 16;
constexpr std::size_t hexWidth = 50;

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments)
{
    char text[32];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

std::string lineOf(std::size_t offset, const std::string& bytes)
{
    std::string hex;
    std::string characters;
    for (const char byte : bytes) {
        hex += hex.size() == 3 * bytesInLine / 2 ? "  " : " ";
        hex += formatted("%02x", static_cast<unsigned char>(byte));
        characters += byte >= ' ' && byte <= '~' ? byte : '.';
    }
    hex.resize(hexWidth, ' ');
    return formatted("%08zx ", offset) + hex + " |" + characters + "|\n";
}

// Reads every word between the offset and the characters as one byte.
void appendLine(const std::string& line, std::string& bytes)
{
    std::istringstream words(line.substr(0, line.find('|')));
    std::string word;
    words >> word;
    while (words >> word) {
        bytes += static_cast<char>(std::strtoul(word.c_str(), nullptr, 16));
    }
}

// Blanks inside backquotes belong to the cell.
std::string plain(const std::string& cell)
{
    const std::size_t first = std::min(cell.find_first_not_of(' '), cell.size());
    std::string text = cell.substr(first, cell.find_last_not_of(' ') + 1 - first);
    text.erase(std::remove(text.begin(), text.end(), '`'), text.end());
    return text;
}

Document::Row cellsOf(const std::string& line)
{
    Document::Row cells;
    std::istringstream text(line.substr(1));
    for (std::string cell; std::getline(text, cell, '|');) {
        cells.push_back(plain(cell));
    }
    return cells;
}

bool isRule(const std::string& line)
{
    return line.find_first_not_of("|-: ") == std::string::npos;
}

} // namespace

std::string dumpOf(const std::string& bytes)
{
    std::string dump;
    for (std::size_t offset = 0; offset < bytes.size(); offset += bytesInLine) {
        dump += lineOf(offset, bytes.substr(offset, bytesInLine));
    }
    return dump + formatted("%08zx\n", bytes.size());
}

std::string bytesOfDump(const std::string& dump)
{
    std::string bytes;
    std::istringstream lines(dump);
    for (std::string line; std::getline(lines, line);) {
        appendLine(line, bytes);
    }
    if (dumpOf(bytes) != dump) {
        throw std::runtime_error("not a dump:\n" + dump + "which would be:\n" + dumpOf(bytes));
    }
    return bytes;
}

Document::Document(std::string text) : m_text(std::move(text)) {}

Document readDocument(const std::string& name)
{
    return Document(readText(OSTREL_DOCUMENTS "/" + name));
}

// Returns the lines from the one after `mark` to the next empty line.
std::string Document::lineBlockAfter(const std::string& mark) const
{
    const std::size_t found = m_text.find('\n' + mark + '\n');
    if (found == std::string::npos) {
        throw std::runtime_error("no " + mark);
    }
    const std::size_t first = found + mark.size() + 2;
    return m_text.substr(first, m_text.find("\n\n", first) + 1 - first);
}

std::string Document::bytes(const std::string& example) const
{
    const std::string block = lineBlockAfter("<!-- example: " + example + " -->");
    const std::string begin = "```text\n";
    const std::string end = "```\n";
    if (block.size() < begin.size() + end.size() || block.find(begin) != 0 ||
        block.rfind(end) != block.size() - end.size()) {
        throw std::runtime_error("no block of text for " + example);
    }
    return bytesOfDump(block.substr(begin.size(), block.size() - begin.size() - end.size()));
}

std::vector<Document::Row> Document::table(const std::string& name) const
{
    std::istringstream lines(lineBlockAfter("<!-- table: " + name + " -->"));
    std::vector<Row> rows;
    for (std::string line; std::getline(lines, line);) {
        if (line.front() != '|' || line.back() != '|') {
            throw std::runtime_error("not a table's line: " + line);
        }
        if (!isRule(line)) {
            rows.push_back(cellsOf(line));
        }
    }
    if (rows.size() < 2) {
        throw std::runtime_error("no rows in " + name);
    }
    rows.erase(rows.begin());
    return rows;
}

} // namespace support
