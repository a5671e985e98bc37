#pragma once

#include "exchange/Binding.h"
#include "exchange/Notices.h"

#include "tools/Descriptor.h"

#include <string>

namespace ostreld
{

/// The FIFO into which a service's clients write. The daemon holds both ends. Its own writing
/// end prevents the end of the file, which would not separate two clients that follow each
/// other quickly.
class CommandFifo
{
public:
    /// Creates it, or takes the one that a former daemon of the same user left. `notices`
    /// reports its writes before a client can open it.
    CommandFifo(std::string path, Notices& notices);

    const ostrel::Descriptor& descriptor() const { return m_reader; }

    /// Lets `group` write into it.
    void shareWith(gid_t group) const;

    /// Passes what was written to `binding`. Reads a limited number of times, because a
    /// client may never stop writing.
    void drainInto(Binding& binding) const;

    /// Whether the FIFO still has its name.
    bool isThere() const;

    /// Removes its name, so that new clients find the daemon off.
    void remove() const;

    /// Whether a client has it open. Closes the daemon's writing end: call it at the end
    /// only.
    bool isClientThere();

private:
    const std::string m_path;
    ostrel::Descriptor m_reader;
    ostrel::Descriptor m_writer;
};

} // namespace ostreld
