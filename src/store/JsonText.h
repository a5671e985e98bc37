#pragma once

// One JSON document held in memory, read by cxxtools into its tree. Its
// grammar is cxxtools' own, which is wider than the standard's (comments,
// plain names); what is added here is that the document must be whole, alone
// in the text, and not nested deeper than a small stack can follow.

#include <string>

namespace cxxtools
{
class JsonDeserializer;
}

namespace ostrel
{

/// Reads `text` into `document`. Throws a std::exception when the text is not
/// UTF-8, no document, cut off, followed by anything but blanks, or nested too
/// deep.
void readJsonText(const std::string& text, cxxtools::JsonDeserializer& document);

} // namespace ostrel
