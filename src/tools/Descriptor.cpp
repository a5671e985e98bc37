#include "tools/Descriptor.h"

#include <cerrno>

namespace ostrel
{

bool writeAll(const Descriptor& file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(file.get(), bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace ostrel
