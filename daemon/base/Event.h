#pragma once

#include "base/PipeFiles.h"

#include "tools/Descriptor.h"

#include <cstdint>

#include <sys/eventfd.h>

namespace ostreld
{

/// Takes everything that an event or a timer counted.
inline void drain(const ostrel::Descriptor& counter)
{
    std::uint64_t ignored = 0;
    while (::read(counter.get(), &ignored, sizeof ignored) > 0) {
    }
}

/// Wakes a thread that waits for events. Any thread may give it.
class Event
{
public:
    const ostrel::Descriptor& descriptor() const { return m_counter; }

    void give() const
    {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = ::write(m_counter.get(), &one, sizeof one);
    }

    void take() const { drain(m_counter); }

private:
    const ostrel::Descriptor m_counter = requireOpen(
        ostrel::Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), "make", "an event");
};

} // namespace ostreld
