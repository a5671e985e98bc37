#include "store/ServerStore.h"

#include "base/Log.h"
#include "x509/Network.h"
#include "x509/SigningRequest.h"

#include <ostrel/Tools.h>

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

namespace
{

constexpr mode_t ownerOnlyMode = 0600;
constexpr std::int64_t secondsPerDay = 86400;
constexpr std::size_t longestUserEntry = 16 * 1024;
constexpr int mostGroups = 65536;

gid_t keyGroupOf(const ostrel::ServiceConfiguration& service, gid_t otherwise)
{
    const std::string& name = service.m_keyGroup;
    if (!name.empty() && !ostrel::Tools::isGroupExist(name)) {
        throw Refusal(BadConfiguration, "the key group '" + name + "' does not exist");
    }
    return name.empty() ? otherwise : ostrel::Tools::getGroupId(name);
}

// By the user database, for a message comes with no groups.
bool isMember(uid_t user, gid_t group)
{
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> text(longestUserEntry);
    if (::getpwuid_r(user, &entry, text.data(), text.size(), &found) != 0 || found == nullptr) {
        return false;
    }
    int count = mostGroups;
    std::vector<gid_t> groups(mostGroups);
    if (::getgrouplist(entry.pw_name, entry.pw_gid, groups.data(), &count) == -1) {
        return false;
    }
    const auto end = groups.begin() + count;
    return std::find(groups.begin(), end, group) != end;
}

std::string networkText(const std::vector<std::string>& names)
{
    return fmt::format("{}\n", fmt::join(names, "\n"));
}

// Where a file of a new request waits until the request itself is there.
std::string nextOf(const std::string& path)
{
    return path + ".next";
}

// A file that is there but cannot be read is a failure: nothing is given up for it.
std::string orEmpty(const std::string& path)
{
    return std::filesystem::is_regular_file(path) ? readOwnFile(path) : std::string();
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
    m_files.removeUnless([&](const std::filesystem::path& path) { return isNeeded(path); });
    shareAgain();
    if (hasActive()) {
        m_files.writeSummaries(m_active, activeCertificate());
    }
}

// The configuration may name other groups than when the files were written.
void ServerStore::shareAgain() const
{
    const auto& paths = m_files.paths;
    for (const std::string& path : {paths.activePath(), paths.csrPath()}) {
        m_files.lasting.share(path, storeFileMode);
    }
    m_files.fleeting.share(paths.csrNetworkPath(), storeFileMode);
    if (hasActive()) {
        m_files.share(m_active);
        m_files.lasting.share(paths.certNetworkPath(m_active), storeFileMode);
        m_lastingKeys.share(paths.certKeyPath(m_active), m_keyMode);
    }
}

bool ServerStore::isNeeded(const std::filesystem::path& path) const
{
    const auto& paths = m_files.paths;
    const bool isOfActive = path == paths.activePath() || path.stem().string() == m_active;
    const bool isOfRequest =
        path == paths.csrPath() || path == paths.csrKeyPath() || path == paths.csrNetworkPath();
    return (isOfActive && hasActive()) || (isOfRequest && isRequestPending());
}

void ServerStore::readActive()
{
    m_active.clear();
    m_former.clear();
    const std::string named = orEmpty(m_files.paths.activePath());
    const std::string id = named.substr(0, named.find('\n'));
    if (!id.empty() && id.find('/') == std::string::npos && isWhole(id)) {
        m_active = id;
    }
}

// A certificate that is damaged, or has no key, is not in use: the service would
// serve nothing with it.
bool ServerStore::isWhole(const std::string& id) const
{
    try {
        const Certificate certificate(orEmpty(m_files.paths.certPath(id)));
        std::string keyPem = orEmpty(m_files.paths.certKeyPath(id));
        const Wipe wipe(keyPem);
        if (certificate.id() != id ||
            !Key::fromPem(keyPem).matches(X509_get0_pubkey(certificate.get()))) {
            throw Refusal(NoServerCertificate, "another certificate, or another key");
        }
        return true;
    } catch (const Refusal& caught) {
        logEvent("{}: server {} is not in use: {}", m_service->m_serviceName, id, caught.what());
        return false;
    }
}

// A request without its key, which lies in a volatile directory, can never be answered.
void ServerStore::discardHalfRequest() const
{
    if (!isRequestPending()) {
        return;
    }
    try {
        finishRequest();
        std::string pem = pendingKeyText();
        const Wipe wipe(pem);
    } catch (const Refusal& caught) {
        logEvent("{}: the pending request is removed: {}", m_service->m_serviceName, caught.what());
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
    const auto& paths = m_files.paths;
    try {
        m_files.fleeting.replace(nextOf(paths.csrKeyPath()), pem, ownerOnlyMode);
        m_files.fleeting.replace(nextOf(paths.csrNetworkPath()),
                                 networkText(profile.networkNames()), storeFileMode);
        m_files.lasting.replace(paths.csrPath(), request, storeFileMode);
    } catch (...) {
        ::unlink(nextOf(paths.csrKeyPath()).c_str());
        ::unlink(nextOf(paths.csrNetworkPath()).c_str());
        throw;
    }
    finishRequest();
}

// The request decides: what lies beside it comes to its place, under which the
// former request's lies till then, when it is the key of this one. The key comes
// last, for where it is missing nothing more is to be done.
void ServerStore::finishRequest() const
{
    const auto& paths = m_files.paths;
    std::string pem = orEmpty(nextOf(paths.csrKeyPath()));
    const Wipe wipe(pem);
    if (!pem.empty() && isRequestPending() &&
        Key::fromPem(pem).matches(SigningRequest(requestText()).publicKey())) {
        for (const std::string& path : {paths.csrNetworkPath(), paths.csrKeyPath()}) {
            if (std::filesystem::exists(nextOf(path))) {
                std::filesystem::rename(nextOf(path), path);
            }
        }
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

// The key of the pending request, which the caller wipes.
std::string ServerStore::pendingKeyText() const
{
    const SigningRequest request(requestText());
    std::string pem = orEmpty(m_files.paths.csrKeyPath());
    if (!Key::fromPem(pem).matches(request.publicKey())) {
        const Wipe wipe(pem);
        throw Refusal(NoPrivateKey, "the pending request has lost its key");
    }
    return pem;
}

void ServerStore::apply(const std::string& pem)
{
    const Certificate certificate(pem);
    std::string keyPem = pendingKeyText();
    const Wipe wipe(keyPem);
    if (!Key::fromPem(keyPem).matches(X509_get0_pubkey(certificate.get()))) {
        throw Refusal(CertificateAndCsrDiffer, "another key than the pending request's");
    }
    putInUse(certificate, keyPem, orEmpty(m_files.paths.csrNetworkPath()));
    orLog(m_service->m_serviceName + ": after an answered request", [&] { removeRequest(); });
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
        // It is in use already, whatever becomes of the oldest one.
        const std::string oldest = std::exchange(m_former, std::exchange(m_active, id));
        orLog(m_service->m_serviceName + ": after a change of the certificate",
              [&] { removeSet(oldest); });
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

bool ServerStore::mayReadKey(uid_t user) const
{
    const std::string& group = m_service->m_keyGroup;
    return user == ::geteuid() || (!group.empty() && isMember(user, keyGroupOf(*m_service, 0)));
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
    if (!hasActive() || !m_service->m_selfSignedGeneration || !activeCertificate().isSelfSigned()) {
        return false;
    }
    const std::string former = orEmpty(m_files.paths.certNetworkPath(m_active));
    return former != networkText(alternativeNames(*m_service, former));
}

} // namespace ostreld
