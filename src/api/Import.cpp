#include <ostrelApi/OstrelService.h>

#include <ostrel/ServiceConfiguration.h>

#include "api/ExternalStore.h"
#include "api/TemporaryCertificate.h"
#include "errors/Explained.h"
#include "errors/Fail.h"
#include "tools/PemText.h"
#include "tools/PinnedFile.h"
#include "tools/TextFile.h"
#include "tools/Trace.h"

#include <cerrno>

namespace ostrelApi
{

namespace
{

using ostrel::PinnedFile;
using ostrel::trace;

constexpr mode_t importFileMode = 0770;

bool changeGroup(const PinnedFile& file, const std::string& path, const std::string& group)
{
    try {
        return ostrel::changeGroupOfOwnFile(file, path, group);
    } catch (const std::exception& caught) {
        throw Explained(ostrel::textOf(caught), groupReasonOf(path, group, errno));
    }
}

// Gives the file to `group`, so that the daemon, a member, may read it.
void shareWith(const std::string& path, const std::string& group)
{
    const PinnedFile file = PinnedFile::own(path);
    if (!changeGroup(file, path, group)) {
        trace("Error: Change the group of the out file to '", group, "' failed.");
        fail(ActionFailed, groupReasonOf(path, group, errno));
    }
    if (!file.changeMode(importFileMode)) {
        throw std::runtime_error("Impossible to change mode for " + path);
    }
}

void writeImportFile(const std::string& path, const std::string& certificate,
                     const std::string& group)
{
    const int error = writeTemporaryCertificate(path, ostrel::withUnixLineEnds(certificate) + '\n');
    try {
        shareWith(path, group);
    } catch (const Explained& caught) {
        // Intended: a failed write ends the import only here, with the text of the failed
        // change of the group. The reason still names the write.
        throw error == 0 ? caught : Explained(caught.what(), reasonOf("cannot write", path, error));
    }
}

} // namespace

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
    const std::string path = temporaryCertificatePath(pipeDirectory());
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
        return requireStore(hasCA(), "CA");
    default:
        requireStore(target == ostrel::TargetClient && hasTrustedClient(), "trusted client");
    }
}

std::string OstrelService::importCertificate(ostrel::TypeTarget target,
                                             const std::string& certificate)
{
    requireImportable(target);
    try {
        return sendCertificate(target, certificate, temporaryCertificatePath(pipeDirectory()));
    } catch (const Explained&) {
        failInstead();
    }
}

std::string OstrelService::addCertificateFile(ostrel::TypeTarget target, const std::string& path)
{
    const ostrel::TextFile file = ostrel::readTextFile(path);
    if (!file.isComplete) {
        fail(ActionFailed, "cannot read", path, file.error);
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
