#pragma once

#include <string>
#include <vector>

namespace bench
{

/// One file to write. A persistent one is synced, and its directory too.
struct RawFile {
    std::string directory;
    std::string name;
    std::string text;
    enum class Way { ReplacePersistent, ReplaceVolatile, Create } way;
};

/// Writes each file as the daemon does: under another name in the directory `scratch` of the
/// same file system (a volatile one in its own directory), and then renamed.
void writeByHand(const std::vector<RawFile>& files, const std::string& scratch);

} // namespace bench
