#pragma once

/// @file
/// Splitting a text at a character, for the records, for command messages and for
/// applications that read them.

#include <ostrel/Export.h>

#include <string>
#include <vector>

/// Splits `text` at every `delimiter`, as std::getline does. Two adjacent delimiters,
/// or one at the start, produce an empty piece; one at the end does not. An empty
/// text has no pieces.
///
///     splitstr("a,,b,", ','); // "a", "", "b"
///
/// The caller owns the pieces. Any thread may call it at any time. It waits for
/// nothing and throws only std::bad_alloc.
OSTREL_API std::vector<std::string> splitstr(const std::string& text, char delimiter);
