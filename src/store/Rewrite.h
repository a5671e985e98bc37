#pragma once

#include <string>

namespace ostrelApi
{

/// Replaces the text of the override file `path`, and creates a missing file.
///
/// The file keeps its inode, because applications may not create files beside
/// it, so the new text goes over the old one. What fails leaves the old text:
///
/// 1. Room for the new text is reserved: a full disk fails here.
/// 2. One write puts the new text over the old one. A shorter text is padded
///    with line feeds, because readers skip empty lines: a reader, or a kill -9,
///    between two steps finds one of the two texts, where it fits a page.
/// 3. The file is cut to the length of the new text.
///
/// Fails with ActionFailed (1).
void rewriteFile(const std::string& path, const std::string& text);

} // namespace ostrelApi
