#include <ostrelApi/OstrelService.h>

#include <ostrel/ServiceConfiguration.h>
#include <ostrel/Tools.h>

#include "api/ExternalStore.h"
#include "api/ImportFailure.h"
#include "api/StoreCheck.h"
#include "api/TemporaryCertificate.h"
#include "tools/ErrorText.h"
#include "tools/PemText.h"
#include "tools/TextFile.h"
#include "tools/Trace.h"

#include <cerrno>
#include <stdexcept>

namespace ostrelApi
{

namespace
{

using ostrel::trace;
namespace Tools = ostrel::Tools;

constexpr mode_t importFileMode = 0770;

// Writes the file that the daemon, a member of `group`, is to read.
void writeImportFile(const std::string& path, const std::string& certificate,
                     const std::string& group)
{
    // One that cannot be written is told by the change of its group.
    writeTemporaryCertificate(path, ostrel::withUnixLineEnds(certificate) + '\n');
    if (!Tools::changeGroup(path, group)) {
        trace("Error: Change the group of the out file to '", group, "' failed.");
        throw OstrelApiException(ActionFailed);
    }
    Tools::changeMode(path, importFileMode);
}

bool isInterruption()
{
    try {
        throw;
    } catch (const OstrelApiException&) {
        return false;
    } catch (const std::exception& caught) {
        return ostrel::textOf(caught) == ostrel::errorText(EINTR);
    } catch (...) {
        return false;
    }
}

} // namespace

void failImport(const ostrel::TierTexts& texts)
{
    trace(ostrel::describeInFlight<OstrelApiException>(texts));
    if (isInterruption()) {
        throw std::runtime_error(ostrel::errorText(EINTR));
    }
    // Intended: the daemon's own code survives in the trace alone.
    throw OstrelApiException(ActionFailed);
}

std::string OstrelService::sendCertificate(ostrel::TypeTarget target,
                                           const std::string& certificate, const std::string& path)
{
    try {
        writeImportFile(path, certificate, m_configuration->m_managmentGroup);
        ostrel::Commands command;
        command.target = target;
        command.command =
            target == ostrel::TargetServer ? ostrel::CommandApplyCrt : ostrel::CommandAdd;
        command.arguments = {path};
        const std::string reply = sendCommandToServer(command);
        removeTemporaryCertificate(path, "Error: Failed to remove temporary file :");
        return reply;
    } catch (...) {
        removeTemporaryCertificate(path, "Error: File cannot be deleted: ");
        throw;
    }
}

std::string OstrelService::addCertificate(ostrel::TypeTarget target, const std::string& certificate)
{
    const std::string path = temporaryCertificatePath(m_configuration->m_serviceName);
    try {
        return sendCertificate(target, certificate, path);
    } catch (...) {
        failImport({"Exception caught while adding certificate.",
                    "Standard exception caught while adding certificate.",
                    "Generic exception caught while adding certificate."});
    }
}

void OstrelService::requireImportable(ostrel::TypeTarget target)
{
    switch (target) {
    case ostrel::TargetServer:
        return requirePendingCsr();
    case ostrel::TargetCA:
        return requireStore(hasCA());
    default:
        requireStore(target == ostrel::TargetClient && hasTrustedClient());
    }
}

std::string OstrelService::importCertificate(ostrel::TypeTarget target,
                                             const std::string& certificate)
{
    requireImportable(target);
    return sendCertificate(target, certificate,
                           temporaryCertificatePath(m_configuration->m_serviceName));
}

std::string OstrelService::addCertificateFile(ostrel::TypeTarget target, const std::string& path)
{
    const ostrel::TextFile file = ostrel::readTextFile(path);
    if (!file.isComplete) {
        throw OstrelApiException(ActionFailed);
    }
    return addCertificate(target, file.text + '\n');
}

std::string OstrelService::addCA(const std::string& certificate)
{
    return addCertificate(caStore().target, certificate);
}

std::string OstrelService::addCAFile(const std::string& path)
{
    return addCertificateFile(caStore().target, path);
}

std::string OstrelService::addTrustedClient(const std::string& certificate)
{
    return addCertificate(trustedClientStore().target, certificate);
}

std::string OstrelService::addTrustedClientFile(const std::string& path)
{
    return addCertificateFile(trustedClientStore().target, path);
}

} // namespace ostrelApi
