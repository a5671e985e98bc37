#include "engine/Output.h"

#include "engine/Deadline.h"

#include <cerrno>
#include <string_view>

#include <unistd.h>

namespace ostrelctl
{

namespace
{

bool write(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR || Deadline::signal() != 0) {
            return false;
        }
    }
    return true;
}

} // namespace

bool writeOutput(const std::string& text)
{
    return write(STDOUT_FILENO, text);
}

bool writeErrors(const std::string& text)
{
    return write(STDERR_FILENO, text);
}

} // namespace ostrelctl
