#include <ostrelApi/OstrelService.h>

#include <ostrel/DaemonConfiguration.h>
#include <ostrelApi/ReturnCode.h>

#include "tools/SigpipeBlock.h"
#include "tools/Trace.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

namespace ostrelApi
{

namespace
{

[[noreturn]] void fail(ReturnCode code, const std::string& text)
{
    ostrel::trace(text);
    throw OstrelApiException(code);
}

[[noreturn]] void failToOpen(const std::string& path, int error)
{
    const char* off = " Looks like the 'ostreld' service is not running!";
    switch (error) {
    case ENOENT:
        fail(DaemonOff, "'" + path + "' file not found." + off);
    case ENXIO:
        fail(DaemonOff, "FiFo '" + path + "' is not open on the other side." + off);
    default:
        fail(ActionFailed, "Error: Failed to open FIFO file '" + path + "'");
    }
}

} // namespace

void OstrelService::sendNotification(char signal)
{
    const std::string path =
        ostrel::DaemonConfiguration::getNamePipesDirectory() + "/notification.signal";
    // Not blocking: without a reader this fails at once.
    const int fifo = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    std::FILE* stream = fifo != -1 ? ::fdopen(fifo, "w") : nullptr;
    if (stream == nullptr) {
        const int error = fifo == -1 ? errno : EIO;
        ::close(fifo);
        failToOpen(path, error);
    }
    // Unsigned everywhere, as char is on the device.
    ostrel::trace("Send -> ", std::to_string(static_cast<unsigned char>(signal)));
    const ostrel::SigpipeBlock noSignal;
    // Intended: a byte that is lost on the way is not reported, and the
    // descriptor is closed once more after its stream has closed it.
    std::fputc(signal, stream);
    std::fclose(stream);
    ::close(fifo);
}

void OstrelService::notifyNetwork()
{
    sendNotification('n');
}

void OstrelService::notifyTime()
{
    sendNotification('t');
}

} // namespace ostrelApi
