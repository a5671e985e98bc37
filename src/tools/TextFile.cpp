#include "tools/TextFile.h"

#include "tools/Descriptor.h"

#include <cerrno>
#include <istream>

#include <sys/stat.h>

namespace ostrel
{

namespace
{

constexpr std::size_t smallestRead = 4096;

// Room for the whole file and one byte more, so that one read fetches a regular file and
// the next one reports its end.
std::size_t expectedSize(const Descriptor& file)
{
    struct stat status {
    };
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0) {
        return smallestRead;
    }
    return static_cast<std::size_t>(status.st_size) + 1;
}

} // namespace

TextFile readTextFile(const std::string& path)
{
    TextFile result;
    const Descriptor file = Descriptor::open(path, O_RDONLY);
    result.isOpen = file.isOpen();
    if (!result.isOpen) {
        result.error = errno;
        return result;
    }
    std::size_t length = 0;
    ssize_t count = 0;
    result.text.resize(expectedSize(file));
    do {
        if (length == result.text.size()) {
            result.text.resize(2 * length + smallestRead);
        }
        count = ::read(file.get(), &result.text[length], result.text.size() - length);
        length += count > 0 ? static_cast<std::size_t>(count) : 0;
    } while (count > 0 || (count < 0 && errno == EINTR));
    result.isComplete = count == 0;
    result.error = result.isComplete ? 0 : errno;
    result.text.resize(length);
    return result;
}

std::string readRest(std::istream& in)
{
    std::string text;
    std::string line;
    while (in.good()) {
        // Line by line, because a failing istream::read() would drop what it read before.
        std::getline(in, line);
        text += line;
        if (in.good()) {
            text += '\n';
        }
    }
    return text;
}

std::string_view TextLines::next()
{
    const std::size_t length = m_rest.find('\n');
    const std::string_view line = m_rest.substr(0, length);
    m_isAtEnd = length == std::string_view::npos;
    m_rest.remove_prefix(m_isAtEnd ? m_rest.size() : length + 1);
    return line;
}

} // namespace ostrel
