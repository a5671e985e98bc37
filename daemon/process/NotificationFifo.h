#pragma once

#include "tools/Descriptor.h"

#include <string>

namespace ostreld
{

/// The FIFO through which any process of the notification group tells the
/// daemon, by one byte, what changed around it. Removed with the object.
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
