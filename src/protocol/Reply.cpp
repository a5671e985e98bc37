#include "protocol/Reply.h"

#include <ostrelApi/ReturnCode.h>

#include "errors/Fail.h"
#include "tools/InFlight.h"
#include "tools/Trace.h"

namespace ostrelApi
{

namespace
{

struct Reply {
    int returnCode;
    std::string payload;
};

Reply split(const std::string& reply)
{
    const std::size_t blank = reply.find(' ');
    if (blank == 0) {
        fail(ActionFailed, "");
    }
    // Without a blank, the whole reply is both code and payload.
    const std::size_t payload = blank == std::string::npos ? 0 : blank + 1;
    return {std::stoi(reply.substr(0, blank)), reply.substr(payload)};
}

Reply read(const std::string& reply)
{
    try {
        return split(reply);
    } catch (...) {
        ostrel::trace(ostrel::describeInFlight<std::logic_error>(
            {"Standard logic error caught while sending command to server: ",
             "Standard exception caught while sending command to server: ",
             "Generic exception caught while sending command to server."}));
        fail(ActionFailed, reply.empty()
                               ? "the daemon closed the reply FIFO without a reply"
                               : "the daemon's reply does not start with a return code: " + reply);
    }
}

} // namespace

std::string payloadOf(const std::string& reply)
{
    const Reply result = read(reply);
    if (result.returnCode != ActionSuccessful) {
        ostrel::trace("Action failed while sending command to server.");
        const bool hasWords = reply.find(' ') != std::string::npos;
        fail(result.returnCode, hasWords ? result.payload : "", result.returnCode);
    }
    return result.payload;
}

} // namespace ostrelApi
