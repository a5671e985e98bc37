#include <ostrelApi/OstrelService.h>

#include <ostrel/CertificateIdList.h>

#include "api/ExternalStore.h"
#include "api/TemporaryCertificate.h"
#include "errors/Fail.h"
#include "store/IdCnLines.h"
#include "store/ListFile.h"
#include "tools/InFlight.h"
#include "tools/PemText.h"
#include "tools/TextFile.h"
#include "tools/Trace.h"

namespace ostrelApi
{

namespace
{

using ostrel::readTextFile;
using ostrel::trace;
using Ids = std::vector<std::string>;

constexpr const char failedToRemove[] = "Failed to remove file '";

ReturnCode missingCertificate(ostrel::TypeTarget target)
{
    switch (target) {
    case ostrel::TargetServer:
        return NoServerCertificate;
    case ostrel::TargetCA:
        return BadCA;
    case ostrel::TargetClient:
        return BadTrustedClient;
    default:
        return ActionFailed;
    }
}

template <class Read>
Ids orActionFailed(Read read)
{
    try {
        return read();
    } catch (...) {
        failInstead();
    }
}

// The first of `ids` whose certificate is the same as that of the file `path`, or empty.
std::string idOfSame(const ostrel::ExternalCertificatesAccessor& accessor, const Ids& ids,
                     const std::string& path)
{
    const std::string wanted = readTextFile(path).text;
    for (const std::string& id : ids) {
        if (ostrel::isSameCertificateText(wanted, readTextFile(accessor.certPath(id)).text)) {
            return id;
        }
    }
    return {};
}

void requireRevoked(const Ids& revoked, const std::string& id, ReturnCode otherwise)
{
    if (revoked.empty() || revoked.front() != id) {
        fail(otherwise, "the daemon did not revoke " + id);
    }
}

// Ends a look-up that could not write its temporary file. Intended: a standard exception
// removes the file, any other exception leaves it behind.
[[noreturn]] void failLookUp(const std::string& path, const char* certificate)
{
    try {
        throw;
    } catch (const std::exception& caught) {
        removeTemporaryCertificate(path, failedToRemove, "'." + ostrel::textOf(caught));
        trace("Standard exception caught while getting Id for ", certificate, ": ",
              ostrel::textOf(caught));
        failInstead();
    } catch (...) {
        trace("Generic exception caught while getting Id for ", certificate, ".");
        failInstead();
    }
}

} // namespace

std::string OstrelService::getCertificate(ostrel::TypeTarget target, const std::string& path)
{
    const ostrel::TextFile file = readTextFile(path);
    if (!file.isComplete) {
        fail(missingCertificate(target), "cannot read", path, file.error);
    }
    return ostrel::firstCertificateOf(file.text);
}

Ids OstrelService::getList(const std::string& listPath)
{
    return orActionFailed([&] { return ostrel::readIds(listPath); });
}

Ids OstrelService::getListByCN(const std::string& cnMapPath, const std::string& cn)
{
    return orActionFailed([&] { return ostrel::idsByCN(ostrel::readListFile(cnMapPath), cn); });
}

std::string OstrelService::idOfText(const ExternalStore& store, const std::string& pem,
                                    std::string (OstrelService::*idOfFile)(const std::string&))
{
    const std::string path = temporaryCertificatePath(pipeDirectory());
    try {
        // Intended: a failed write is no error; the absent file matches no certificate.
        [[maybe_unused]] const int ignored = writeTemporaryCertificate(path, pem);
    } catch (...) {
        failLookUp(path, store.name);
    }
    // Intended: when the look-up throws, the file stays behind.
    const std::string id = (this->*idOfFile)(path);
    removeTemporaryCertificate(path, failedToRemove, "'.");
    return id;
}

Ids OstrelService::revoke(const ExternalStore& store, const Ids& ids)
{
    ostrel::Commands command;
    command.target = store.target;
    command.command = ostrel::CommandRevoke;
    command.arguments = ids;
    return ostrel::CertificateIdList(sendCommandToServer(command), ' ').toArray();
}

void OstrelService::revokeCA(const std::string& id)
{
    requireRevoked(revokeCA(Ids{id}), id, BadCA);
}

Ids OstrelService::revokeCA(const Ids& ids)
{
    return revoke(caStore(), ids);
}

Ids OstrelService::getCAList()
{
    return getList(caStore().accessor.listPath());
}

Ids OstrelService::getCAListByCN(const std::string& cn)
{
    return getListByCN(caStore().accessor.cnMapPath(), cn);
}

std::string OstrelService::getCA(const std::string& id)
{
    const ExternalStore store = caStore();
    return getCertificate(store.target, store.accessor.certPath(id));
}

std::string OstrelService::getCADirectory()
{
    return caStore().accessor.certificateDirectoryPath();
}

std::string OstrelService::getIdCAPath(const std::string& path)
{
    const ExternalStore store = caStore();
    return idOfSame(store.accessor, getCAList(), path);
}

std::string OstrelService::getIdCA(const std::string& pem)
{
    return idOfText(caStore(), pem, &OstrelService::getIdCAPath);
}

void OstrelService::revokeTrustedClient(const std::string& id)
{
    requireRevoked(revokeTrustedClient(Ids{id}), id, BadTrustedClient);
}

Ids OstrelService::revokeTrustedClient(const Ids& ids)
{
    return revoke(trustedClientStore(), ids);
}

Ids OstrelService::getTrustedClientList()
{
    return getList(trustedClientStore().accessor.listPath());
}

Ids OstrelService::getTrustedClientListByCN(const std::string& cn)
{
    return getListByCN(trustedClientStore().accessor.cnMapPath(), cn);
}

std::string OstrelService::getTrustedClient(const std::string& id)
{
    const ExternalStore store = trustedClientStore();
    return getCertificate(store.target, store.accessor.certPath(id));
}

std::string OstrelService::getTrustedClientDirectory()
{
    return trustedClientStore().accessor.certificateDirectoryPath();
}

std::string OstrelService::getIdTrustedClient(const std::string& pem)
{
    return idOfText(trustedClientStore(), pem, &OstrelService::getIdTrustedClientPath);
}

std::string OstrelService::getIdTrustedClientPath(const std::string& path)
{
    const ExternalStore store = trustedClientStore();
    return idOfSame(store.accessor, getTrustedClientList(), path);
}

} // namespace ostrelApi
