#include "process/NotificationFifo.h"

#include "base/Files.h"
#include "base/PipeFiles.h"
#include "base/Refusal.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/Tools.h>

#include <sys/stat.h>

namespace ostreld
{

using ostrel::DaemonConfiguration;

namespace
{

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
    // Opened for writing too, because without a writer the FIFO would be at its end for ever.
    m_fifo = openOwn(m_path, S_IFIFO, O_RDWR);
    setAccess(m_fifo, m_path, {notificationGroup(), groupWritesMode});
}

NotificationFifo::~NotificationFifo()
{
    ::unlink(m_path.c_str());
}

std::string NotificationFifo::take() const
{
    // The capacity of the FIFO.
    std::string bytes(65536, '\0');
    const ssize_t count = ::read(m_fifo.get(), bytes.data(), bytes.size());
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

} // namespace ostreld
