#pragma once

#include "tools/Descriptor.h"

#include <string>

namespace ostreld
{

/// The FIFO into which members of the notification group write one byte for each change
/// around the daemon. Removed by the destructor.
class NotificationFifo
{
public:
    NotificationFifo();
    ~NotificationFifo();
    NotificationFifo(const NotificationFifo&) = delete;
    NotificationFifo& operator=(const NotificationFifo&) = delete;

    const ostrel::Descriptor& descriptor() const { return m_fifo; }

    /// The bytes that have arrived since the last call.
    std::string take() const;

private:
    const std::string m_path;
    ostrel::Descriptor m_fifo;
};

} // namespace ostreld
