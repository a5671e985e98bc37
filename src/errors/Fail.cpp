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

std::string oneLine(const std::string& text)
{
    std::string line = text.substr(0, longestReason);
    std::replace_if(line.begin(), line.end(), isControl, ' ');
    return line;
}

} // namespace

void fail(int returnCode, const Reason& reason, int daemonReturnCode)
{
    throw CallError(returnCode, oneLine(reason.text), daemonReturnCode, reason.systemError);
}

Reason reasonOf(std::string_view step, const std::string& path, int error)
{
    std::string text(step);
    text.append(" ").append(path).append(": ").append(ostrel::errorText(error));
    return {text, error};
}

Reason groupReasonOf(const std::string& path, const std::string& group, int error)
{
    const std::string step = "cannot give to the group '" + group + "' the file";
    const bool isKnown = ostrel::Tools::isGroupExist(group);
    return isKnown ? reasonOf(step, path, error) : Reason{step + ' ' + path + ": no such group"};
}

void fail(int returnCode, std::string_view text, int daemonReturnCode)
{
    fail(returnCode, Reason{std::string(text)}, daemonReturnCode);
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
        fail(ActionFailed, Reason{caught.getReason(), caught.getSystemError()},
             caught.getDaemonReturnCode());
    } catch (const Explained& caught) {
        fail(ActionFailed, caught.reason);
    } catch (const std::exception& caught) {
        fail(ActionFailed, ostrel::textOf(caught));
    } catch (...) {
        fail(ActionFailed, "");
    }
}

} // namespace ostrelApi
