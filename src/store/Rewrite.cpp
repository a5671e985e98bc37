#include "store/Rewrite.h"

#include <ostrelApi/ReturnCode.h>

#include "errors/Fail.h"
#include "tools/Descriptor.h"
#include "tools/TextFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <sys/stat.h>

namespace ostrelApi
{

namespace
{

using ostrel::Descriptor;
using ostrel::TextFile;

constexpr mode_t defaultFileMode = 0666;

off_t sizeOf(const std::string& text)
{
    return static_cast<off_t>(text.size());
}

// A failure is harmless: the file ends in empty lines, which readers skip.
void cut(const Descriptor& file, off_t size)
{
    [[maybe_unused]] const int ignored = ::ftruncate(file.get(), size);
}

bool writeAtStart(const Descriptor& file, const std::string& text)
{
    return ::pwrite(file.get(), text.data(), text.size(), 0) == sizeOf(text);
}

// For file systems without fallocate(): empty lines after the text take up the room.
bool reserveByLineFeeds(const Descriptor& file, off_t oldSize, off_t newSize)
{
    const std::string lineFeeds(static_cast<std::size_t>(std::max<off_t>(newSize - oldSize, 0)),
                                '\n');
    return ::pwrite(file.get(), lineFeeds.data(), lineFeeds.size(), oldSize) == sizeOf(lineFeeds);
}

bool reserve(const Descriptor& file, off_t oldSize, off_t newSize)
{
    int result = 0;
    do {
        result = newSize == 0 ? 0 : ::fallocate(file.get(), FALLOC_FL_KEEP_SIZE, 0, newSize);
    } while (result != 0 && errno == EINTR);
    const bool isUnsupported = result != 0 && (errno == EOPNOTSUPP || errno == ENOSYS);
    return isUnsupported ? reserveByLineFeeds(file, oldSize, newSize) : result == 0;
}

bool writeOver(const Descriptor& file, const std::string& former, const std::string& text)
{
    std::string padded = text;
    padded.resize(std::max(text.size(), former.size()), '\n');
    if (!reserve(file, sizeOf(former), sizeOf(text)) || !writeAtStart(file, padded)) {
        return false;
    }
    cut(file, sizeOf(text));
    return true;
}

void putBack(const Descriptor& file, const std::string& path, const TextFile& former)
{
    if (former.error == ENOENT) {
        std::remove(path.c_str());
    } else if (former.isOpen && writeAtStart(file, former.text)) {
        cut(file, sizeOf(former.text));
    }
}

} // namespace

void rewriteFile(const std::string& path, const std::string& text)
{
    const TextFile former = ostrel::readTextFile(path);
    if (former.isOpen && !former.isComplete) {
        fail(ActionFailed, "cannot read", path, former.error);
    }
    const Descriptor file = Descriptor::open(path, O_WRONLY | O_CREAT, defaultFileMode);
    if (!file.isOpen()) {
        fail(ActionFailed, "cannot open for writing", path, errno);
    }
    if (!writeOver(file, former.text, text)) {
        const int error = errno;
        putBack(file, path, former);
        fail(ActionFailed, "cannot write", path, error);
    }
}

} // namespace ostrelApi
