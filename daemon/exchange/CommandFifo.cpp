#include "exchange/CommandFifo.h"

#include "base/Files.h"
#include "base/PipeFiles.h"

#include <cerrno>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

// Opening the reading end lets clients continue that wait for a daemon.
CommandFifo::CommandFifo(std::string path, Notices& notices) : m_path(std::move(path))
{
    const Descriptor own = openOwn(m_path, S_IFIFO, O_PATH);
    notices.watchCommand(pathOf(own));
    m_reader = requireOpen(Descriptor::open(pathOf(own), O_RDONLY | O_NONBLOCK), "open", m_path);
    m_writer = requireOpen(Descriptor::open(pathOf(own), O_WRONLY | O_NONBLOCK), "open", m_path);
}

void CommandFifo::shareWith(gid_t group) const
{
    setAccess(m_reader, m_path, {group, groupWritesMode});
}

// A read that leaves room has emptied it.
void CommandFifo::drainInto(Binding& binding) const
{
    constexpr int readsInARow = 16;
    char bytes[16384];
    ssize_t count = sizeof bytes;
    for (int i = 0; i < readsInARow && count == sizeof bytes; ++i) {
        count = ::read(m_reader.get(), bytes, sizeof bytes);
        binding.append(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

bool CommandFifo::isThere() const
{
    struct stat status {
    };
    return ::fstat(m_reader.get(), &status) == 0 && status.st_nlink == 1;
}

void CommandFifo::remove() const
{
    ::unlink(m_path.c_str());
}

// read() returns 0, the end of the file, only if no client has the FIFO open.
bool CommandFifo::isClientThere()
{
    m_writer.close();
    char ignored = '\0';
    return ::read(m_reader.get(), &ignored, 1) != 0;
}

} // namespace ostreld
