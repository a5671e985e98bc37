#include "store/ListFile.h"

#include "errors/Explained.h"
#include "tools/TextFile.h"

#include <algorithm>
#include <cerrno>
#include <functional>

namespace ostrel
{

namespace
{

constexpr mode_t defaultFileMode = 0666;

// Intended: the same text for a list and for a map, for reading and for writing.
[[noreturn]] void failToOpen(const std::string& path, int error)
{
    throw ostrelApi::Explained("Impossible to open the list file " + path + ".",
                               ostrelApi::reasonOf("cannot open", path, error));
}

} // namespace

std::string readListFile(const std::string& path)
{
    TextFile file = readTextFile(path);
    if (!file.isOpen) {
        failToOpen(path, file.error);
    }
    return std::move(file.text);
}

std::vector<std::string> readIds(const std::string& path)
{
    const std::string text = readListFile(path);
    std::vector<std::string> ids;
    for (TextLines lines(text); !lines.isAtEnd();) {
        const std::string_view id = lines.next();
        if (!id.empty()) {
            ids.emplace_back(id);
        }
    }
    makeAscendingAndUnique(ids);
    return ids;
}

void makeAscendingAndUnique(std::vector<std::string>& ids)
{
    // The daemon writes list files in order, so usually this one pass is all.
    const auto disorder =
        std::adjacent_find(ids.begin(), ids.end(), std::greater_equal<std::string>());
    if (disorder != ids.end()) {
        std::sort(disorder, ids.end());
        std::inplace_merge(ids.begin(), disorder, ids.end());
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    }
}

Descriptor createListFile(const std::string& path)
{
    Descriptor file = Descriptor::open(path, O_WRONLY | O_CREAT | O_TRUNC, defaultFileMode);
    if (!file.isOpen()) {
        failToOpen(path, errno);
    }
    return file;
}

void writeListLine(const Descriptor& file, const std::string& line)
{
    writeAll(file, line + '\n');
}

} // namespace ostrel
