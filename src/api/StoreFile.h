#pragma once

#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/ReturnCode.h>

#include "tools/TextFile.h"

#include <string>

namespace ostrelApi
{

/// The lines of a store's file, each ended by a line feed: intended, also the
/// empty line that stands behind a line feed at the very end.
inline std::string linesOf(const std::string& path, ReturnCode whenNotOpen)
{
    const ostrel::TextFile file = ostrel::readTextFile(path);
    if (!file.isOpen) {
        throw OstrelApiException(whenNotOpen);
    }
    return file.text + '\n';
}

} // namespace ostrelApi
