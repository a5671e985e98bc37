#include "exchange/CommandFifo.h"

#include "base/Files.h"
#include "base/PipeFiles.h"

#include <cerrno>
#include <stdexcept>
#include <utility>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Descriptor;

CommandFifo::CommandFifo(std::string path) : m_path(std::move(path))
{
    removeSetAside(m_path);
    removeUnlessOwn(m_path, S_IFIFO);
    if (::mkfifo(m_path.c_str(), S_IRUSR | S_IWUSR) != 0 && errno != EEXIST) {
        failSystemCall("make", m_path);
    }
    reopen();
}

void CommandFifo::shareWith(gid_t group) const
{
    setAccess(m_fifo, m_path, {group, groupWritesMode});
}

void CommandFifo::reopen()
{
    Descriptor fifo = Descriptor::open(m_path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
    m_isToBeReopened = m_fifo.isOpen() && !fifo.isOpen() && isShortage(errno);
    if (m_isToBeReopened) {
        return;
    }
    m_fifo = requireOpen(std::move(fifo), "open", m_path);
    if (!isFifo(m_fifo)) {
        throw std::runtime_error(m_path + " is not a FIFO");
    }
}

bool CommandFifo::isReady() const
{
    return !m_isToBeReopened && eventsOf(m_fifo, POLLIN) != 0;
}

std::optional<CommandFifo::Message> CommandFifo::take()
{
    char bytes[4096];
    const ssize_t count = ::read(m_fifo.get(), bytes, sizeof bytes);
    if (count > 0) {
        append(bytes, static_cast<std::size_t>(count));
    }
    return count == 0 ? std::optional(std::exchange(m_message, {})) : std::nullopt;
}

// A longer one than allowed is read on and dropped.
void CommandFifo::append(const char* bytes, std::size_t count)
{
    m_message.isTooLong = m_message.isTooLong || m_message.text.size() + count > largestMessage;
    if (!m_message.isTooLong) {
        m_message.text.append(bytes, count);
    }
}

// While a client has it open there is no end of file.
bool CommandFifo::isMessageUnderWay() const
{
    char ignored = '\0';
    return m_fifo.isOpen() && ::read(m_fifo.get(), &ignored, 1) != 0;
}

void CommandFifo::remove() const
{
    ::unlink(m_path.c_str());
}

} // namespace ostreld
