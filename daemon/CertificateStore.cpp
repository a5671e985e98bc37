#include "CertificateStore.h"

#include "Log.h"

#include <ostrel/CertificateIdList.h>
#include <ostrelApi/OverwrittenData.h>

#include <filesystem>
#include <set>

namespace ostreld
{

using ostrel::ServiceConfiguration;
namespace fs = std::filesystem;

namespace
{

constexpr std::size_t largestCertificate = 1 << 20;
constexpr std::size_t largestDetails = 16 << 20;
// The group reads what is kept for it, and lists the certificates' directory.
constexpr mode_t fileMode = 0640;
constexpr mode_t certificatesMode = 0750;
constexpr mode_t passThroughMode = 0710;

std::string parentOf(const std::string& path)
{
    return fs::path(path).parent_path().string();
}

std::string readIn(const std::string& path, std::size_t limit)
{
    return readRegularFile(parentOf(path), fs::path(path).filename().string(), limit);
}

bool isMissing(const std::string& path)
{
    std::error_code ignored;
    return fs::symlink_status(path, ignored).type() == fs::file_type::not_found;
}

template <class Keep>
void removeFilesUnless(const std::string& directory, const Replacer& replacer, Keep keep)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        if (!entry.is_directory() && !keep(entry.path())) {
            logEvent("{}: removing what an interrupted change left", entry.path().string());
            replacer.remove(entry.path().string());
        }
    }
}

} // namespace

const StoreRow storeRows[2] = {
    {ostrel::TargetCA, "ca", &ServiceConfiguration::m_ca, &ServiceConfiguration::m_maximumCA,
     &ServiceConfiguration::m_uniqueCaByCn, true, BadCA, ErrorAddingCA, TooManyCAs, CAExists},
    {ostrel::TargetClient, "client", &ServiceConfiguration::m_trustedClients,
     &ServiceConfiguration::m_maximumTrustedClients,
     &ServiceConfiguration::m_uniqueTrustedClientByCn, false, BadTrustedClient,
     ErrorAddingTrustedClient, TooManyTrustedClients, TrustedClientExists},
};

CertificateStore::CertificateStore(const StoreRow& row, const ServiceConfiguration& service,
                                   gid_t group)
    : m_row(&row), m_service(&service), m_paths(service, row.word), m_group(group),
      m_lasting(m_paths.cachedDirectoryPath(), group, Durability::Lasting),
      m_volatile(m_paths.tmpDirectoryPath(), group, Durability::Volatile)
{
}

void CertificateStore::rebuild()
{
    makeDirectory(fs::path(m_paths.cachedDirectoryPath()).parent_path(),
                  {m_group, certificatesMode});
    makeDirectory(m_paths.cachedDirectoryPath(), {m_group, passThroughMode});
    makeDirectory(m_paths.tmpDirectoryPath(), {m_group, passThroughMode});
    m_lasting.removeScratch();
    m_volatile.removeScratch();
    readListedNames();
    removeUnlisted();
    writeNames();
    writeList();
}

void CertificateStore::readListedNames()
{
    m_names = {};
    if (!fs::exists(m_paths.listPath())) {
        return;
    }
    for (const std::string& id : ostrel::CertificateIdList(m_paths.listPath()).toArray()) {
        if (isMissing(m_paths.certPath(id))) {
            logEvent("{}: {} {} has no file: listed no more", m_service->m_serviceName, m_row->word,
                     id);
            continue;
        }
        try {
            // The group may be another one than when they were written.
            shareFile(m_paths.certPath(id), {m_group, fileMode});
            shareFile(m_paths.certOverwrittenDataPath(id), {m_group, fileMode});
            const Certificate certificate(certificateText(id));
            writeVolatileFiles(id, certificate);
            m_names.entries()[id] = certificate.commonName();
        } catch (const std::exception& caught) {
            // It stays listed: what the owner put there is the owner's to remove.
            logEvent("{}: {} {}: {}", m_service->m_serviceName, m_row->word, id, caught.what());
            m_names.entries()[id] = "";
        }
    }
}

void CertificateStore::removeUnlisted() const
{
    removeFilesUnless(m_paths.certificateDirectoryPath(), m_lasting,
                      [&](const fs::path& path) { return has(path.filename()); });
    removeFilesUnless(m_paths.cachedDirectoryPath(), m_lasting, [&](const fs::path& path) {
        return path == m_paths.listPath() || has(path.stem());
    });
    removeFilesUnless(m_paths.tmpDirectoryPath(), m_volatile, [&](const fs::path& path) {
        return path == m_paths.cnMapPath() || has(path.stem());
    });
}

void CertificateStore::refuse(const Certificate& certificate) const
{
    if (m_row->takesOnlyCAs && !certificate.isCA()) {
        throw Refusal(m_row->bad, "not a certificate authority");
    }
    if (has(certificate.id())) {
        throw Refusal(m_row->exists, "already there");
    }
    if (m_service->*m_row->isUniqueByCn && !idsByCN(certificate.commonName()).empty()) {
        throw Refusal(m_row->exists, "another one has its common name");
    }
    const std::size_t maximum = m_service->*m_row->maximum;
    if (maximum != 0 && m_names.entries().size() >= maximum) {
        throw Refusal(m_row->tooMany, "the store is full");
    }
}

std::string CertificateStore::add(const Certificate& certificate)
{
    refuse(certificate);
    const std::string id = certificate.id();
    try {
        m_lasting.replace(m_paths.certPath(id), certificate.pem(), fileMode);
        writeVolatileFiles(id, certificate);
        m_names.entries()[id] = certificate.commonName();
        writeNames();
        writeList();
    } catch (const std::exception& caught) {
        m_names.entries().erase(id);
        removeFilesOf(id);
        throw Refusal(m_row->failedToAdd, caught.what());
    }
    return id;
}

std::vector<std::string> CertificateStore::revoke(const std::vector<std::string>& ids)
{
    const auto former = m_names.entries();
    std::set<std::string> revoked;
    for (const std::string& id : ids) {
        if (m_names.entries().erase(id) != 0) {
            revoked.insert(id);
        }
    }
    try {
        writeList();
    } catch (...) {
        m_names.entries() = former;
        throw;
    }
    writeNames();
    for (const std::string& id : revoked) {
        removeFilesOf(id);
    }
    return {revoked.begin(), revoked.end()};
}

std::vector<std::string> CertificateStore::idsByCN(const std::string& cn) const
{
    std::vector<std::string> ids;
    for (const auto& [id, name] : m_names.entries()) {
        if (name == cn) {
            ids.push_back(id);
        }
    }
    return ids;
}

std::string CertificateStore::certificateText(const std::string& id) const
{
    return readIn(m_paths.certPath(id), largestCertificate);
}

std::string CertificateStore::detailsText(const std::string& id) const
{
    return readIn(m_paths.certDetailsPath(id), largestDetails);
}

std::map<std::string, std::string> CertificateStore::overrides(const std::string& id) const
{
    return ostrelApi::OverwrittenData(m_paths.certOverwrittenDataPath(id)).getMap();
}

void CertificateStore::setOverride(const std::string& id, const std::string& key,
                                   const std::string& value)
{
    std::map<std::string, std::string> former = overrides(id);
    m_lasting.replace(
        m_paths.certOverwrittenDataPath(id),
        [&](const std::string& scratch) {
            ostrelApi::OverwrittenData data(scratch);
            former[key] = value;
            for (const auto& [name, text] : former) {
                data.setData(name, text);
            }
            data.write();
        },
        fileMode);
}

void CertificateStore::writeVolatileFiles(const std::string& id,
                                          const Certificate& certificate) const
{
    m_volatile.replace(m_paths.certInfoPath(id), certificate.info(), fileMode);
    m_volatile.replace(m_paths.certDetailsPath(id), certificate.details(), fileMode);
}

void CertificateStore::writeList() const
{
    m_lasting.replace(
        m_paths.listPath(),
        [&](const std::string& scratch) {
            m_names.toCertificateIdList().writeIntoFile(scratch, true);
        },
        fileMode);
}

void CertificateStore::writeNames() const
{
    m_volatile.replace(
        m_paths.cnMapPath(),
        [&](const std::string& scratch) { m_names.writeIntoFile(scratch, true); }, fileMode);
}

void CertificateStore::removeFilesOf(const std::string& id) const
{
    m_lasting.remove(m_paths.certPath(id));
    m_lasting.remove(m_paths.certOverwrittenDataPath(id));
    m_volatile.remove(m_paths.certInfoPath(id));
    m_volatile.remove(m_paths.certDetailsPath(id));
}

} // namespace ostreld
