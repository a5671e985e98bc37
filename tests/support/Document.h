#pragma once

#include <string>
#include <vector>

namespace support
{

/// One of the documents in docs/, as its tests read it. The tests take their
/// input from its examples and tables, so a document that contradicts the
/// library fails a test.
///
/// A line of its own marks each example and table:
///
///     <!-- example: pid -->            <!-- table: signals -->
///     ```text                          | byte | means   |
///     00000000  34 ...                 |---|---|
///     ```                              | `n` | network |
///
/// Every function throws std::runtime_error when the document does not hold the
/// example or table in exactly this form.
class Document
{
public:
    using Row = std::vector<std::string>;

    explicit Document(std::string text);

    /// The bytes of a hex dump.
    std::string bytes(const std::string& example) const;

    /// The rows of a table without its head. Each cell has no surrounding
    /// blanks and no backquotes.
    std::vector<Row> table(const std::string& name) const;

    const std::string& text() const { return m_text; }

private:
    std::string lineBlockAfter(const std::string& mark) const;

    const std::string m_text;
};

/// Reads a document by its path below docs/.
Document readDocument(const std::string& name);

/// `bytes` as "hexdump -C -v" prints them, ready to paste into a document.
std::string dumpOf(const std::string& bytes);

/// The bytes of such a dump. Throws when offsets or characters do not match.
std::string bytesOfDump(const std::string& dump);

} // namespace support
