#include <ostrelApi/OstrelService.h>

#include <ostrel/DaemonConfiguration.h>
#include <ostrelApi/ReturnCode.h>

#include "errors/Fail.h"
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

constexpr const char off[] = " Looks like the 'ostreld' service is not running!";

void traceFailure(const std::string& path)
{
    ostrel::trace("Error: Failed to open FIFO file '", path, "'");
}

[[noreturn]] void failToOpen(const std::string& path, int error)
{
    ReturnCode code = DaemonOff;
    switch (error) {
    case ENOENT:
        ostrel::trace("'", path, "' file not found.", off);
        break;
    case ENXIO:
        ostrel::trace("FiFo '", path, "' is not open on the other side.", off);
        break;
    default:
        traceFailure(path);
        code = ActionFailed;
    }
    fail(code, "cannot open the notification FIFO", path, error);
}

int openFifo(const std::string& path)
{
    // A notification must not wait: without a reader, O_NONBLOCK fails at once with ENXIO.
    const int fifo = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fifo == -1) {
        failToOpen(path, errno);
    }
    return fifo;
}

std::FILE* streamOf(int fifo, const std::string& path)
{
    std::FILE* const stream = ::fdopen(fifo, "w");
    if (stream == nullptr) {
        const int error = errno;
        traceFailure(path);
        ::close(fifo);
        fail(ActionFailed, "cannot open a stream on the notification FIFO", path, error);
    }
    return stream;
}

} // namespace

void OstrelService::sendNotification(char signal)
{
    const std::string path =
        ostrel::DaemonConfiguration::getNamePipesDirectory() + "/notification.signal";
    const int fifo = openFifo(path);
    std::FILE* const stream = streamOf(fifo, path);
    // char is unsigned on the device, so the trace is the same on every machine.
    ostrel::trace("Send -> ", std::to_string(static_cast<unsigned char>(signal)));
    // The daemon may end between the open and the write.
    const ostrel::SigpipeBlock noSignal;
    // Intended: a lost byte is not reported, and the descriptor is closed a second time after
    // fclose() closed it.
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
