#pragma once

// The text form of certificate and CSR records: one line for each field, with the key, one
// space and the value, and then one line for each extension. A record class is a table of
// rows, which both the reader and the writer use. docs/FILES.md has the grammar. The
// functions throw only std::bad_alloc.

#include <ostrl/CDistinguishedName.h>
#include <ostrl/v3Ext.h>

#include "tools/KeyValueText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <variant>
#include <vector>

namespace ostrl
{

/// A field of `Record`: its key and the member with its value. The rows have the order of
/// the text form.
template <class Record>
struct FieldRow {
    const char* key;
    std::variant<std::int32_t Record::*, std::uint64_t Record::*, std::string Record::*,
                 CDistinguishedName Record::*>
        member;
};

/// The value of a field as text. Numbers are decimal in every locale.
[[nodiscard]] std::string valueText(std::int32_t number);
[[nodiscard]] std::string valueText(std::uint64_t number);
[[nodiscard]] std::string valueText(const std::string& text);
[[nodiscard]] std::string valueText(const CDistinguishedName& name);

/// Sets a field to the value in `text`. A number consists of the leading digits; without
/// digits it is 0.
void takeValue(std::int32_t& number, const std::string& text);
void takeValue(std::uint64_t& number, const std::string& text);
void takeValue(std::string& member, const std::string& text);
void takeValue(CDistinguishedName& name, const std::string& text);

/// Appends the lines of `extensions`, with an empty line after each.
void appendExtensions(std::string& text, const std::vector<v3Ext>& extensions);

/// Adds the extension in `value` if `key` is that of an extension.
void takeExtension(std::vector<v3Ext>& extensions, const std::string& key,
                   const std::string& value);

/// Returns the text form of `record`.
template <class Record, std::size_t N>
[[nodiscard]] std::string recordText(const Record& record, const FieldRow<Record> (&rows)[N])
{
    std::string text;
    for (const FieldRow<Record>& row : rows) {
        const auto value = [&](auto member) { return valueText(record.*member); };
        text.append(row.key).append(" ").append(std::visit(value, row.member)) += '\n';
    }
    appendExtensions(text, record.v3Extensions);
    return text;
}

/// Sets the fields of `record` that `text` contains, and adds the extensions.
template <class Record, std::size_t N>
void takeRecord(Record& record, const FieldRow<Record> (&rows)[N], const std::string& text)
{
    for (const auto& pair : ostrel::configMapOf(text)) {
        const auto hasKey = [&](const FieldRow<Record>& row) { return row.key == pair.first; };
        const auto row = std::find_if(std::begin(rows), std::end(rows), hasKey);
        if (row != std::end(rows)) {
            std::visit([&](auto member) { takeValue(record.*member, pair.second); }, row->member);
        } else {
            takeExtension(record.v3Extensions, pair.first, pair.second);
        }
    }
}

} // namespace ostrl
