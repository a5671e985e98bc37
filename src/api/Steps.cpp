#include "api/Steps.h"

#include <ostrel/Tools.h>
#include <ostrelApi/OstrelApiException.h>

#include "errors/Fail.h"
#include "errors/Interrupted.h"
#include "tools/TextFile.h"
#include "tools/Trace.h"

#include <cerrno>

namespace ostrelApi
{

void requireStore(bool hasStore, const char* name)
{
    if (!hasStore) {
        fail(NoSuchTarget, std::string("the service has no ") + name + " store");
    }
}

void requireFile(const std::string& path, ReturnCode otherwise)
{
    if (!ostrel::Tools::fileExist(path)) {
        fail(otherwise, "cannot find", path, errno);
    }
}

std::string linesOf(const std::string& path, ReturnCode whenNotOpen)
{
    const ostrel::TextFile file = ostrel::readTextFile(path);
    if (!file.isOpen) {
        fail(whenNotOpen, "cannot open", path, file.error);
    }
    return file.text + '\n';
}

void failImport(const ostrel::TierTexts& texts)
{
    ostrel::trace(ostrel::describeInFlight<OstrelApiException>(texts));
    try {
        throw;
    } catch (const Interrupted&) {
        throw;
    } catch (...) {
        failInstead();
    }
}

} // namespace ostrelApi
