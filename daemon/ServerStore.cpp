#include "ServerStore.h"

#include "Log.h"
#include "Network.h"
#include "SigningRequest.h"

#include <ostrel/Tools.h>

#include <fmt/format.h>

#include <utility>

#include <sys/stat.h>

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

std::string networkText(const std::vector<std::string>& names)
{
    return fmt::format("{}\n", fmt::join(names, "\n"));
}

std::string orEmpty(const std::string& path)
{
    return std::filesystem::exists(path) ? readOwnFile(path) : std::string();
}

} // namespace

ServerStore::ServerStore(const ostrel::ServiceConfiguration& service, gid_t group)
    : m_service(&service), m_files(ostrel::InternalCertificatesAccessor(service, "server"), group,
                                   keyGroupOf(service, group) != group),
      m_lastingKeys(m_files.paths.cachedDirectoryPath(), keyGroupOf(service, group),
                    Durability::Lasting),
      m_keyMode(service.m_keyGroup.empty() ? ownerOnlyMode : storeFileMode)
{
}

void ServerStore::rebuild()
{
    m_files.makeDirectories();
    readActive();
    discardHalfRequest();
    m_files.removeUnless([&](const std::filesystem::path& path) {
        const auto& paths = m_files.paths;
        return path == paths.activePath() || path == paths.csrPath() ||
               path == paths.csrKeyPath() || path == paths.csrNetworkPath() ||
               belongsTo(path, m_active);
    });
    if (hasActive()) {
        m_files.writeSummaries(m_active, activeCertificate());
    }
}

bool ServerStore::belongsTo(const std::filesystem::path& path, const std::string& id) const
{
    return !id.empty() && path.stem().string() == id;
}

// A certificate that cannot be read is not in use: the service would serve nothing with it.
void ServerStore::readActive()
{
    m_active.clear();
    m_former.clear();
    const std::string named = orEmpty(m_files.paths.activePath());
    const std::string id = named.substr(0, named.find('\n'));
    if (id.empty() || id.find('/') != std::string::npos) {
        return;
    }
    try {
        if (Certificate(m_files.certificateText(id)).id() == id) {
            m_active = id;
        }
    } catch (const std::exception& caught) {
        logEvent("{}: server {}: {}", m_service->m_serviceName, id, caught.what());
    }
}

// A request without its key, which lies in a volatile directory, can never be answered.
void ServerStore::discardHalfRequest() const
{
    std::string pem = orEmpty(m_files.paths.csrKeyPath());
    const Wipe wipe(pem);
    if (isRequestPending() &&
        !Key::fromPem(pem).matches(SigningRequest(requestText()).publicKey())) {
        logEvent("{}: the pending request has lost its key", m_service->m_serviceName);
        removeRequest();
    }
}

void ServerStore::createRequest(bool isCompliant)
{
    RequestProfile profile(*m_service);
    if (isCompliant) {
        profile.makeCompliant();
    }
    const Key key = Key::generate(profile.keyKind());
    const std::string request = profile.request(key);
    std::string pem = key.pem();
    const Wipe wipePem(pem);
    std::string formerPem = orEmpty(m_files.paths.csrKeyPath());
    const Wipe wipeFormer(formerPem);
    m_files.fleeting.replace(m_files.paths.csrKeyPath(), pem, ownerOnlyMode);
    try {
        m_files.fleeting.replace(m_files.paths.csrNetworkPath(),
                                 networkText(profile.networkNames()), storeFileMode);
        m_files.lasting.replace(m_files.paths.csrPath(), request, storeFileMode);
    } catch (...) {
        m_files.fleeting.replace(m_files.paths.csrKeyPath(), formerPem, ownerOnlyMode);
        throw;
    }
}

bool ServerStore::isRequestPending() const
{
    return std::filesystem::exists(m_files.paths.csrPath());
}

std::string ServerStore::requestText() const
{
    if (!isRequestPending()) {
        throw Refusal(NoCsr, "no request is pending");
    }
    return readOwnFile(m_files.paths.csrPath());
}

std::int64_t ServerStore::requestTime() const
{
    struct stat status {
    };
    return ::stat(m_files.paths.csrPath().c_str(), &status) == 0 ? status.st_ctime : 0;
}

void ServerStore::apply(const std::string& pem)
{
    const SigningRequest request(requestText());
    const Certificate certificate(pem);
    std::string keyPem = orEmpty(m_files.paths.csrKeyPath());
    const Wipe wipe(keyPem);
    const EVP_PKEY* publicKey = X509_get0_pubkey(certificate.get());
    if (publicKey == nullptr || EVP_PKEY_eq(request.publicKey(), publicKey) != 1 ||
        !Key::fromPem(keyPem).matches(publicKey)) {
        throw Refusal(CertificateAndCsrDiffer, "another key than the pending request's");
    }
    putInUse(certificate, keyPem, orEmpty(m_files.paths.csrNetworkPath()));
    removeRequest();
}

void ServerStore::generateSelfSigned(std::uint32_t days)
{
    const RequestProfile profile(*m_service);
    const Key key = Key::generate(profile.keyKind());
    std::string keyPem = key.pem();
    const Wipe wipe(keyPem);
    putInUse(Certificate(profile.selfSigned(key, days)), keyPem,
             networkText(profile.networkNames()));
}

void ServerStore::putInUse(const Certificate& certificate, const std::string& keyPem,
                           const std::string& network)
{
    const std::string id = certificate.id();
    try {
        writeSet(certificate, keyPem, network);
    } catch (...) {
        if (id != m_active) {
            removeSet(id);
        }
        throw;
    }
    if (id != m_active) {
        removeSet(m_former);
        m_former = std::exchange(m_active, id);
    }
}

void ServerStore::writeSet(const Certificate& certificate, const std::string& keyPem,
                           const std::string& network)
{
    const std::string id = certificate.id();
    m_lastingKeys.replace(m_files.paths.certKeyPath(id), keyPem, m_keyMode);
    m_files.lasting.replace(m_files.paths.certNetworkPath(id), network, storeFileMode);
    m_files.writeCertificate(id, certificate);
    m_files.lasting.replace(m_files.paths.activePath(), id + '\n', storeFileMode);
}

void ServerStore::revoke()
{
    const std::string id = active();
    m_files.lasting.remove(m_files.paths.activePath());
    m_active.clear();
    removeSet(id);
    removeSet(m_former);
    m_former.clear();
}

void ServerStore::removeSet(const std::string& id) const
{
    if (!id.empty()) {
        m_files.lasting.remove(m_files.paths.certKeyPath(id));
        m_files.lasting.remove(m_files.paths.certNetworkPath(id));
        m_files.removeCertificate(id);
    }
}

void ServerStore::removeRequest() const
{
    m_files.lasting.remove(m_files.paths.csrPath());
    m_files.fleeting.remove(m_files.paths.csrKeyPath());
    m_files.fleeting.remove(m_files.paths.csrNetworkPath());
}

const std::string& ServerStore::active() const
{
    if (!hasActive()) {
        throw Refusal(NoServerCertificate, "no certificate is in use");
    }
    return m_active;
}

std::string ServerStore::keyText() const
{
    const std::string path = m_files.paths.certKeyPath(active());
    if (!std::filesystem::exists(path)) {
        throw Refusal(NoPrivateKey, "the certificate in use has no key");
    }
    return readOwnFile(path);
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
           now + margin >= static_cast<std::int64_t>(certificate.record().validNotAfterDate);
}

bool ServerStore::isNetworkOutdated() const
{
    return hasActive() && m_service->m_selfSignedGeneration && activeCertificate().isSelfSigned() &&
           orEmpty(m_files.paths.certNetworkPath(m_active)) !=
               networkText(alternativeNames(*m_service));
}

} // namespace ostreld
