#pragma once

#include "tools/Descriptor.h"

#include <cstdint>

namespace ostreld
{

/// Reports the time to check when certificates expire: once a day, and when the device's
/// clock is set.
class ExpiryClock
{
public:
    ExpiryClock();

    /// Readable at that time, until arm() is called.
    const ostrel::Descriptor& descriptor() const { return m_timer; }

    /// Waits until `offset` seconds after midnight UTC.
    void arm(std::uint32_t offset);

private:
    ostrel::Descriptor m_timer;
};

} // namespace ostreld
