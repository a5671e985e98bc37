#pragma once

#include "tools/Descriptor.h"

#include <cstdint>

namespace ostreld
{

/// Tells once a day, and whenever the device's clock is set, that it is time to
/// look at the certificates' ends.
class ExpiryClock
{
public:
    ExpiryClock();

    /// Readable when it is time; arm() makes it wait for the next time.
    const ostrel::Descriptor& descriptor() const { return m_timer; }

    /// Waits for `offset` seconds after midnight UTC.
    void arm(std::uint32_t offset);

private:
    ostrel::Descriptor m_timer;
};

} // namespace ostreld
