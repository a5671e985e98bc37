#include "store/CertificateStore.h"

#include "base/Log.h"

#include <ostrel/CertificateIdList.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace ostreld
{

using ostrel::ServiceConfiguration;

namespace
{

// A list without any text is a damage, and is known by that.
constexpr const char emptyList[] = "\n";

bool isMissing(const std::string& path)
{
    std::error_code ignored;
    return std::filesystem::symlink_status(path, ignored).type() ==
           std::filesystem::file_type::not_found;
}

std::vector<std::string> idsIn(const std::string& list)
{
    std::vector<std::string> ids = ostrel::CertificateIdList(list, '\n').toArray();
    ids.erase(std::remove(ids.begin(), ids.end(), ""), ids.end());
    return ids;
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
    : m_row(&row), m_service(&service),
      m_files(ostrel::ExternalCertificatesAccessor(service, row.word), group)
{
}

void CertificateStore::rebuild()
{
    m_files.makeDirectories();
    readListedNames();
    m_files.removeUnless([&](const std::filesystem::path& path) {
        const auto& paths = m_files.paths;
        return path == paths.listPath() || path == paths.cnMapPath() || has(path.stem().string());
    });
    writeNames();
    writeList();
}

// A list that is lost is no reason to lose the certificates: each that has the
// name that it ought to have is taken for listed.
std::vector<std::string> CertificateStore::listedIds() const
{
    const auto& paths = m_files.paths;
    const std::string list = isMissing(paths.listPath()) ? "" : readOwnFile(paths.listPath());
    if (!list.empty()) {
        return idsIn(list);
    }
    std::vector<std::string> ids;
    for (const auto& entry :
         std::filesystem::directory_iterator(paths.certificateDirectoryPath())) {
        const std::string name = entry.path().filename().string();
        if (entry.is_regular_file() && isCertificateNamed(name)) {
            logEvent("{}: {} {}: no list names it, but it stays", m_service->m_serviceName,
                     m_row->word, name);
            ids.push_back(name);
        }
    }
    return ids;
}

bool CertificateStore::isCertificateNamed(const std::string& id) const
{
    try {
        return Certificate(m_files.certificateText(id)).id() == id;
    } catch (const std::exception&) {
        return false;
    }
}

void CertificateStore::readListedNames()
{
    m_names = {};
    for (const std::string& id : listedIds()) {
        if (isMissing(m_files.paths.certPath(id))) {
            logEvent("{}: {} {} has no file: listed no more", m_service->m_serviceName, m_row->word,
                     id);
            continue;
        }
        try {
            // It stays listed, whatever fails: what the owner put there is the owner's to remove.
            std::string& name = m_names.entries()[id];
            m_files.share(id);
            const Certificate certificate(m_files.certificateText(id));
            name = certificate.commonName();
            m_files.writeSummaries(id, certificate);
        } catch (const std::exception& caught) {
            logEvent("{}: {} {}: {}", m_service->m_serviceName, m_row->word, id, caught.what());
        }
    }
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
        m_files.writeCertificate(id, certificate);
        m_names.entries()[id] = certificate.commonName();
        writeNames();
        writeList();
    } catch (const std::exception& caught) {
        const std::string what = m_service->m_serviceName + ": after a failed addition";
        m_names.entries().erase(id);
        orLog(what, [&] { writeNames(); });
        orLog(what, [&] { m_files.removeCertificate(id); });
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
    const std::string what = m_service->m_serviceName + ": after a revocation";
    orLog(what, [&] { writeNames(); });
    for (const std::string& id : revoked) {
        orLog(what, [&] { m_files.removeCertificate(id); });
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

void CertificateStore::writeList() const
{
    const std::string text = m_names.toCertificateIdList().toTextList("\n");
    m_files.lasting.update(m_files.paths.listPath(), text.empty() ? emptyList : text,
                           storeFileMode);
}

void CertificateStore::writeNames() const
{
    m_files.fleeting.update(m_files.paths.cnMapPath(), linesOf(m_names.entries()), storeFileMode);
}

} // namespace ostreld
