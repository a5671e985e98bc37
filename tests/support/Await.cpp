#include "support/Await.h"

#include <filesystem>
#include <stdexcept>

#include <poll.h>
#include <sys/inotify.h>

namespace support
{

namespace fs = std::filesystem;
using ostrel::Descriptor;

namespace
{

constexpr int patience = 30000;

} // namespace

void awaitReadable(const Descriptor& descriptor, const std::string& what)
{
    pollfd entry{descriptor.get(), POLLIN, 0};
    if (::poll(&entry, 1, patience) == 0) {
        throw std::runtime_error("waited in vain: " + what);
    }
}

void awaitChange(const std::string& watched, const std::string& what,
                 const std::function<bool()>& isReached)
{
    const Descriptor notices(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    constexpr std::uint32_t changes = IN_CREATE | IN_DELETE | IN_MODIFY | IN_MOVE;
    if (::inotify_add_watch(notices.get(), watched.c_str(), changes) == -1) {
        throw std::runtime_error("cannot watch " + watched);
    }
    while (!isReached()) {
        awaitReadable(notices, what);
        alignas(inotify_event) char ignored[4096];
        while (::read(notices.get(), ignored, sizeof ignored) > 0) {
        }
    }
}

void awaitGone(const std::string& path)
{
    awaitChange(fs::path(path).parent_path(), path + " to be gone",
                [&] { return !fs::exists(fs::symlink_status(path)); });
}

} // namespace support
