#pragma once

#include <string>

namespace ostrelApi
{

/// Replaces the text of the override file `path`. Creates an absent file.
///
/// Applications may not create files beside it, so a new file cannot be renamed over it:
/// the new text goes over the old one, in the same inode. A failure leaves the old text:
///
/// 1. It reserves room for the new text. A full disk fails here.
/// 2. One write puts the new text over the old one. A shorter text is padded with line
///    feeds, because readers skip empty lines. If the text fits a page, a reader or a
///    kill -9 between two steps finds one of the two texts.
/// 3. It cuts the file to the length of the new text.
///
/// Waits only for the disk. Throws CallError with ActionFailed (1) when the old text
/// cannot be read or the file cannot be opened or written.
void rewriteFile(const std::string& path, const std::string& text);

} // namespace ostrelApi
