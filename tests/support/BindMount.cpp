#include "support/BindMount.h"

#include "support/Device.h"

#include <cerrno>
#include <system_error>

#include <sys/mount.h>

namespace support
{

BindMount::BindMount(const std::string& source, const std::string& target) : m_target(target)
{
    boxDirectory();
    if (::mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), "mounting " + source);
    }
}

BindMount::~BindMount()
{
    ::umount2(m_target.c_str(), MNT_DETACH);
}

} // namespace support
