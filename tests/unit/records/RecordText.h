#pragma once

#include <string>

namespace record_text
{

/// The text that a record writes.
template <class Record>
std::string textOf(Record record)
{
    std::string text = "what was there before";
    record.to(text);
    return text;
}

/// The record that a text gives.
template <class Record>
Record recordOf(const std::string& text)
{
    Record record;
    record.from(text);
    return record;
}

} // namespace record_text
