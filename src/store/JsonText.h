#pragma once

// Reads one JSON document from memory into the tree of cxxtools, whose grammar is wider
// than the standard's (comments, names without quotes). cxxtools accepts a text that
// is cut off or continues after the document, and recurses once for each level; this
// reader refuses such texts, and nesting that could overflow a small stack.

#include <string>

namespace cxxtools
{
class JsonDeserializer;
}

namespace ostrel
{

/// Reads `text` into `document`. Throws std::exception when the text is not UTF-8, not a
/// document, cut off, nested too deep, or followed by anything other than blanks.
void readJsonText(const std::string& text, cxxtools::JsonDeserializer& document);

} // namespace ostrel
