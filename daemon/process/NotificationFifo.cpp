#include "process/NotificationFifo.h"

#include "base/Files.h"
#include "base/Refusal.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/Tools.h>

#include <cerrno>

#include <sys/stat.h>

namespace ostreld
{

using ostrel::DaemonConfiguration;

namespace
{

constexpr mode_t groupWritesMode = 0620;

gid_t notificationGroup()
{
    const std::string name = DaemonConfiguration::getNotificationGroup();
    if (!ostrel::Tools::isGroupExist(name)) {
        throw Refusal(BadConfiguration, "the notification group '" + name + "' does not exist");
    }
    return ostrel::Tools::getGroupId(name);
}

} // namespace

NotificationFifo::NotificationFifo()
    : m_path(DaemonConfiguration::getNamePipesDirectory() + "/notification.signal")
{
    if (::mkfifo(m_path.c_str(), S_IRUSR | S_IWUSR) != 0 && errno != EEXIST) {
        failSystemCall("make", m_path);
    }
    // For writing too: without a writer of its own the FIFO would be at its end for ever.
    m_fifo = ostrel::Descriptor::open(m_path, O_RDWR | O_NONBLOCK | O_NOFOLLOW);
    if (!m_fifo.isOpen() || !isFifo(m_fifo)) {
        failSystemCall("use as a FIFO", m_path);
    }
    setAccess(m_fifo, m_path, {notificationGroup(), groupWritesMode});
}

NotificationFifo::~NotificationFifo()
{
    ::unlink(m_path.c_str());
}

std::string NotificationFifo::take() const
{
    // As much as the FIFO holds.
    std::string bytes(65536, '\0');
    const ssize_t count = ::read(m_fifo.get(), bytes.data(), bytes.size());
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

} // namespace ostreld
