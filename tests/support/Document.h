#pragma once

#include <string>
#include <vector>

namespace support
{

/// One of the documents in docs/, as its tests read it: the examples and tables
/// in it are the tests' own input, so a document that says something else than
/// the library does fails a test.
///
/// Each example and table is marked by a line of its own in front of it:
///
///     <!-- example: pid -->            <!-- table: signals -->
///     ```text                          | byte | means   |
///     00000000  34 ...                 |---|---|
///     ```                              | `n` | network |
///
/// Everything here throws std::runtime_error when the document does not hold
/// what is asked for in exactly this form.
class Document
{
public:
    using Row = std::vector<std::string>;

    explicit Document(std::string text);

    /// The bytes of a hex dump.
    std::string bytes(const std::string& example) const;

    /// The rows of a table below its head: cells without surrounding blanks
    /// and without the marks of code.
    std::vector<Row> table(const std::string& name) const;

    const std::string& text() const { return m_text; }

private:
    std::string lineBlockAfter(const std::string& mark) const;

    const std::string m_text;
};

/// Reads one by its path below docs/.
Document readDocument(const std::string& name);

/// `bytes` as "hexdump -C -v" prints them, to be put into a document.
std::string dumpOf(const std::string& bytes);

/// The bytes of such a dump; offsets and characters have to fit them, too.
std::string bytesOfDump(const std::string& dump);

} // namespace support
