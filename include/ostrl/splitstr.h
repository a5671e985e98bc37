#pragma once

/// @file
/// Splitting a text at a character.

#include <ostrel/Export.h>

#include <string>
#include <vector>

/// Splits `text` at every `delimiter`, as std::getline does: two adjacent
/// delimiters or a leading one give an empty piece, a trailing one gives none,
/// and an empty text gives no piece at all. Any thread; throws nothing but
/// std::bad_alloc.
OSTREL_API std::vector<std::string> splitstr(const std::string& text, char delimiter);
