#include "base/Log.h"

#include "base/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include <unistd.h>

namespace ostreld
{

bool gVerbose = false;

namespace
{

// A pipe accepts this many bytes as one unit (PIPE_BUF).
constexpr std::size_t longestLine = 4096;
constexpr std::string_view prefix = "ostreld: ";

std::size_t formatted(char* text, std::size_t size, fmt::string_view format,
                      fmt::format_args arguments)
{
    try {
        return std::min(fmt::vformat_to_n(text, size, format, arguments).size, size);
    } catch (...) {
        const std::size_t length = std::min(format.size(), size);
        std::copy_n(format.data(), length, text);
        return length;
    }
}

} // namespace

bool isControlCharacter(char c)
{
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

void writeLogLine(fmt::string_view format, fmt::format_args arguments) noexcept
{
    const int error = errno;
    char line[longestLine];
    char* const text = line + prefix.copy(line, prefix.size());
    constexpr std::size_t room = longestLine - prefix.size() - 1;
    // The line may contain a client's text, which must not forge another line.
    std::size_t length = replaceHidden(text, formatted(text, room, format, arguments), '?');
    text[length++] = '\n';
    // A failed write is ignored.
    [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, line, prefix.size() + length);
    errno = error;
}

} // namespace ostreld
