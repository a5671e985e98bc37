#pragma once

#include <string>

namespace support
{

/// Mounts the file `source` over `target` while the object lives, visible to
/// this test only. A test replaces a device file with it, for example.
class BindMount
{
public:
    BindMount(const std::string& source, const std::string& target);
    ~BindMount();
    BindMount(const BindMount&) = delete;
    BindMount& operator=(const BindMount&) = delete;

private:
    const std::string m_target;
};

} // namespace support
