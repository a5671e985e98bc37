#include "errors/Fail.h"

#include <ostrel/Tools.h>
#include <ostrelApi/CallError.h>
#include <ostrelApi/ReturnCode.h>

#include "errors/Explained.h"
#include "tools/ErrorText.h"
#include "tools/InFlight.h"

#include <algorithm>

namespace ostrelApi
{

namespace
{

// A reply of any length must not become an exception of any length.
constexpr std::size_t longestReason = 8192;

bool isControl(unsigned char character)
{
    return character < 0x20 || character == 0x7f;
}

std::string oneLine(std::string_view text)
{
    std::string line(text.substr(0, longestReason));
    std::replace_if(line.begin(), line.end(), isControl, ' ');
    return line;
}

} // namespace

void fail(int returnCode, std::string_view reason, int daemonReturnCode)
{
    throw CallError(returnCode, oneLine(reason), daemonReturnCode);
}

std::string reasonOf(std::string_view step, const std::string& path, int error)
{
    return std::string(step).append(" ").append(path).append(": ") + ostrel::errorText(error);
}

std::string groupReasonOf(const std::string& path, const std::string& group, int error)
{
    const std::string step = "cannot give to the group '" + group + "' the file";
    const bool isKnown = ostrel::Tools::isGroupExist(group);
    return isKnown ? reasonOf(step, path, error) : step + ' ' + path + ": no such group";
}

void fail(int returnCode, std::string_view step, const std::string& path, int error)
{
    fail(returnCode, reasonOf(step, path, error));
}

void failInstead()
{
    try {
        throw;
    } catch (const CallError& caught) {
        fail(ActionFailed, caught.getReason(), caught.getDaemonReturnCode());
    } catch (const Explained& caught) {
        fail(ActionFailed, caught.reason);
    } catch (const std::exception& caught) {
        fail(ActionFailed, ostrel::textOf(caught));
    } catch (...) {
        fail(ActionFailed, "");
    }
}

} // namespace ostrelApi
