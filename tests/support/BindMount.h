#pragma once

#include <string>

namespace support
{

/// Shows the file `source` in the place of `target`, to this test alone, while
/// the object lives: a device that is out of order, for example.
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
