#include "store/ListFile.h"

#include "tools/TextFile.h"

#include <stdexcept>

namespace ostrel
{

namespace
{

constexpr mode_t defaultFileMode = 0666;

// Intended: the same words for a list and for a map, for reading and for writing.
[[noreturn]] void failToOpen(const std::string& path)
{
    throw std::runtime_error("Impossible to open the list file " + path + ".");
}

} // namespace

std::string readListFile(const std::string& path)
{
    TextFile file = readTextFile(path);
    if (!file.isOpen) {
        failToOpen(path);
    }
    return std::move(file.text);
}

Descriptor createListFile(const std::string& path)
{
    Descriptor file = Descriptor::open(path, O_WRONLY | O_CREAT | O_TRUNC, defaultFileMode);
    if (!file.isOpen()) {
        failToOpen(path);
    }
    return file;
}

void writeListLine(const Descriptor& file, const std::string& line)
{
    writeAll(file, line + '\n');
}

} // namespace ostrel
