#include "store/ServerStore.h"

#include "x509/SigningRequest.h"

#include <utility>

namespace ostreld
{

namespace
{

constexpr mode_t ownerOnlyMode = 0600;
constexpr std::int64_t secondsPerDay = 86400;

gid_t keyGroupOf(const ostrel::ServiceConfiguration& service, gid_t otherwise)
{
    const std::string& name = service.m_keyGroup;
    if (!name.empty() && !ostrel::Tools::isGroupExist(name)) {
        throw Refusal(BadConfiguration, "the key group '" + name + "' does not exist");
    }
    return name.empty() ? otherwise : ostrel::Tools::getGroupId(name);
}

// The name of a new request's file until the request itself is in place.
std::string nextOf(const std::string& name)
{
    return name + ".next";
}

} // namespace

ServerStore::ServerStore(const ostrel::ServiceConfiguration& service, gid_t group)
    : m_service(&service), m_files(ostrel::InternalCertificatesAccessor(service, "server"), group,
                                   keyGroupOf(service, group) != group),
      m_keyAccess{keyGroupOf(service, group),
                  service.m_keyGroup.empty() ? ownerOnlyMode : storeFileMode},
      m_isKeyForCallers(!service.m_keyGroup.empty() && m_keyAccess.group == group)
{
}

void ServerStore::rebuild()
{
    m_files.makeDirectories();
    readActive();
    discardHalfRequest();
    removeUnneeded(m_files.certificates);
    removeUnneeded(m_files.cached);
    removeUnneeded(m_files.volatiles);
    shareAgain();
    if (hasActive()) {
        CertificateStamps unused;
        m_files.updateSummaries(m_active, Summaries(activeCertificate()), unused);
    }
}

// The groups in the configuration may have changed since the files were written.
void ServerStore::shareAgain() const
{
    const auto& paths = m_files.paths;
    const Access access = {m_files.group, storeFileMode};
    m_files.cached.share(nameOf(paths.activePath()), access);
    m_files.cached.share(nameOf(paths.csrPath()), access);
    m_files.volatiles.share(nameOf(paths.csrNetworkPath()), access);
    if (hasActive()) {
        m_files.share(m_active);
        m_files.cached.share(nameOf(paths.certNetworkPath(m_active)), access);
        m_files.certificates.share(nameOf(paths.certKeyPath(m_active)), m_keyAccess);
    }
}

void ServerStore::removeUnneeded(const Directory& directory) const
{
    DirectoryNames names = directory.names();
    while (const char* name = names.next()) {
        m_files.removeUnless(isNeeded(name), directory, name);
    }
}

bool ServerStore::isNeeded(const std::string& name) const
{
    const bool isOfActive =
        name == nameOf(m_files.paths.activePath()) || name.substr(0, name.rfind('.')) == m_active;
    return (isOfActive && hasActive()) || (isRequestPending() && isOfRequest(name));
}

bool ServerStore::isOfRequest(const std::string& name) const
{
    const std::string key = nameOf(m_files.paths.csrKeyPath());
    const std::string network = nameOf(m_files.paths.csrNetworkPath());
    return name == nameOf(m_files.paths.csrPath()) || name == key || name == network ||
           ((name == nextOf(key) || name == nextOf(network)) && isNextPending());
}

void ServerStore::readActive()
{
    m_active.clear();
    m_former.clear();
    const std::string named = m_files.cached.readIfThere(nameOf(m_files.paths.activePath()));
    const std::string id = named.substr(0, named.find('\n'));
    if (!id.empty() && id.find('/') == std::string::npos && isWhole(id)) {
        m_active = id;
    }
}

// A certificate that is damaged or has no key is not in use, because no service can work with
// it.
bool ServerStore::isWhole(const std::string& id) const
{
    try {
        const Directory& directory = m_files.certificates;
        const Certificate certificate(directory.readIfThere(id));
        const SecretText key = directory.readSecretIfThere(nameOf(m_files.paths.certKeyPath(id)));
        if (certificate.id() != id || !Key::fromPem(key.view()).matches(certificate.publicKey())) {
            throw Refusal(NoServerCertificate, "another certificate, or another key");
        }
        return true;
    } catch (const Refusal& caught) {
        logEvent("{}: server {} is not in use: {}", m_service->m_serviceName, id, caught.what());
        return false;
    }
}

// Without its key, which is volatile, nobody can use the answer to a request.
void ServerStore::discardHalfRequest()
{
    if (!isRequestPending()) {
        return;
    }
    m_requestWork = RequestWork::Finish;
    try {
        (void)pendingKeyText();
    } catch (const Refusal& caught) {
        logEvent("{}: the pending request is removed: {}", m_service->m_serviceName, caught.what());
        m_requestWork = RequestWork::Remove;
    }
    settle(true);
}

void ServerStore::putRequest(std::string_view keyPem, const std::string& requestPem,
                             const std::string& network)
{
    const auto& paths = m_files.paths;
    const Directory& volatiles = m_files.volatiles;
    if (isRequestPending()) {
        finishRequest();
    }
    try {
        const std::string key = nextOf(nameOf(paths.csrKeyPath()));
        volatiles.replace(key, keyPem, {m_files.group, ownerOnlyMode}, volatiles);
        m_files.write(volatiles, nextOf(nameOf(paths.csrNetworkPath())), network);
        m_files.write(m_files.cached, nameOf(paths.csrPath()), requestPem);
    } catch (...) {
        attempt(m_service->m_serviceName, true, [this] { removeNextFiles(); });
        throw;
    }
    m_requestWork = RequestWork::Finish;
    settle(true);
}

// Whether a new request is in place while its key and addresses still have their first names.
// The request decides that they belong to it.
bool ServerStore::isNextPending() const
{
    const SecretText pem =
        m_files.volatiles.readSecretIfThere(nextOf(nameOf(m_files.paths.csrKeyPath())));
    return !pem.empty() &&
           Key::fromPem(pem.view()).matches(SigningRequest(requestText()).publicKey());
}

// Renames the key last, because without a key under its first name nothing is left to do.
void ServerStore::finishRequest() const
{
    if (isNextPending()) {
        for (const std::string& path :
             {m_files.paths.csrNetworkPath(), m_files.paths.csrKeyPath()}) {
            m_files.volatiles.rename(nextOf(nameOf(path)), nameOf(path));
        }
    }
}

bool ServerStore::isRequestPending() const
{
    return m_files.cached.has(nameOf(m_files.paths.csrPath()));
}

std::string ServerStore::requestText() const
{
    if (!isRequestPending()) {
        throw Refusal(NoCsr, "no request is pending");
    }
    return m_files.cached.read(nameOf(m_files.paths.csrPath()));
}

std::int64_t ServerStore::requestTime() const
{
    const auto found = m_files.cached.status(nameOf(m_files.paths.csrPath()));
    return found ? found->st_ctime : 0;
}

SecretText ServerStore::pendingKeyText() const
{
    const SigningRequest request(requestText());
    const std::string name = nameOf(m_files.paths.csrKeyPath());
    SecretText pem = m_files.volatiles.readSecretIfThere(isNextPending() ? nextOf(name) : name);
    if (!Key::fromPem(pem.view()).matches(request.publicKey())) {
        throw Refusal(NoPrivateKey, "the pending request has lost its key");
    }
    return pem;
}

std::string ServerStore::pendingNetwork() const
{
    const std::string name = nameOf(m_files.paths.csrNetworkPath());
    const bool isNext = isNextPending() && m_files.volatiles.has(nextOf(name));
    return m_files.volatiles.readIfThere(isNext ? nextOf(name) : name);
}

void ServerStore::apply(const std::string& pem)
{
    const Certificate certificate(pem);
    const SecretText keyPem = pendingKeyText();
    if (!Key::fromPem(keyPem.view()).matches(certificate.publicKey())) {
        throw Refusal(CertificateAndCsrDiffer, "another key than the pending request's");
    }
    putInUse(certificate, keyPem.view(), pendingNetwork());
    m_requestWork = RequestWork::Remove;
    settle(true);
}

void ServerStore::putInUse(const Certificate& certificate, std::string_view keyPem,
                           const std::string& network)
{
    std::string id = certificate.id();
    std::set<std::string> undone = {id};
    std::set<std::string> oldest = {m_former};
    try {
        writeSet(certificate, keyPem, network);
    } catch (...) {
        m_leftovers.take(undone);
        settle(true);
        throw;
    }
    if (id != m_active) {
        m_former = std::exchange(m_active, std::move(id));
        m_leftovers.take(oldest);
        settle(true);
    }
}

void ServerStore::writeSet(const Certificate& certificate, std::string_view keyPem,
                           const std::string& network) const
{
    const std::string id = certificate.id();
    const Summaries summaries(certificate);
    const auto& paths = m_files.paths;
    const Directory& cached = m_files.cached;
    m_files.certificates.replace(nameOf(paths.certKeyPath(id)), keyPem, m_keyAccess, cached);
    m_files.write(cached, nameOf(paths.certNetworkPath(id)), network);
    if (!cached.has(nameOf(paths.certOverwrittenDataPath(id)))) {
        m_files.makeOverrides(id);
    }
    m_files.writeCertificate(id, certificate.pem(), summaries);
    m_files.write(cached, nameOf(paths.activePath()), id + '\n');
}

void ServerStore::revoke()
{
    std::set<std::string> removed = {active(), m_former};
    m_files.cached.remove(nameOf(m_files.paths.activePath()));
    m_active.clear();
    m_former.clear();
    m_leftovers.take(removed);
    settle(true);
}

bool ServerStore::retryRemovals() noexcept
{
    return settle(false);
}

bool ServerStore::settle(bool isLogged) noexcept
{
    const std::string& title = m_service->m_serviceName;
    if (attempt(title, isLogged, [this] { doRequestWork(); })) {
        m_requestWork = RequestWork::None;
    }
    const bool isNoneLeft =
        m_leftovers.retry(title, isLogged, [this](const std::string& id) { removeSet(id); });
    return isNoneLeft && m_requestWork == RequestWork::None;
}

void ServerStore::removeSet(const std::string& id) const
{
    if (id.empty() || id == m_active || id == m_former) {
        return;
    }
    removeEach({{&m_files.certificates, nameOf(m_files.paths.certKeyPath(id))},
                {&m_files.cached, nameOf(m_files.paths.certNetworkPath(id))},
                {&m_files.certificates, id}});
    m_files.removeCertificate(id);
}

void ServerStore::doRequestWork() const
{
    if (m_requestWork == RequestWork::Finish) {
        finishRequest();
    } else if (m_requestWork == RequestWork::Remove) {
        removeRequest();
    }
}

void ServerStore::removeRequest() const
{
    m_files.cached.remove(nameOf(m_files.paths.csrPath()));
    removeEach({{&m_files.volatiles, nameOf(m_files.paths.csrKeyPath())},
                {&m_files.volatiles, nameOf(m_files.paths.csrNetworkPath())}});
    removeNextFiles();
}

void ServerStore::removeNextFiles() const
{
    removeEach({{&m_files.volatiles, nextOf(nameOf(m_files.paths.csrKeyPath()))},
                {&m_files.volatiles, nextOf(nameOf(m_files.paths.csrNetworkPath()))}});
}

const std::string& ServerStore::active() const
{
    if (!hasActive()) {
        throw Refusal(NoServerCertificate, "no certificate is in use");
    }
    return m_active;
}

SecretText ServerStore::keyText() const
{
    const std::string name = nameOf(m_files.paths.certKeyPath(active()));
    if (!m_files.certificates.has(name)) {
        throw Refusal(NoPrivateKey, "the certificate in use has no key");
    }
    return m_files.certificates.readSecretIfThere(name);
}

Certificate ServerStore::activeCertificate() const
{
    return Certificate(m_files.certificateText(active()));
}

bool ServerStore::isSelfSignedDue(std::int64_t now) const
{
    if (!hasActive()) {
        return m_service->m_selfSignedGeneration;
    }
    const Certificate certificate = activeCertificate();
    const std::int64_t margin = m_service->m_selfSignedValidityOffset * secondsPerDay;
    return m_service->m_selfSignedOnExpiration && certificate.isSelfSigned() &&
           !certificate.validity().covers(now, margin);
}

std::string ServerStore::activeNetwork() const
{
    return m_files.cached.readIfThere(nameOf(m_files.paths.certNetworkPath(active())));
}

bool ServerStore::followsNetwork() const
{
    return hasActive() && m_service->m_selfSignedGeneration && activeCertificate().isSelfSigned();
}

} // namespace ostreld
