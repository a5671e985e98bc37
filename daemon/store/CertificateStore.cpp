#include "store/CertificateStore.h"

#include <algorithm>

namespace ostreld
{

using ostrel::ServiceConfiguration;

namespace
{

constexpr std::size_t idLength = 16;
constexpr mode_t ownerOnlyMode = 0600;

bool hasFormOfId(const std::string& text)
{
    return text.size() == idLength &&
           text.find_first_not_of("0123456789abcdef") == std::string::npos;
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
    : m_row(&row), m_service(&service), m_title(service.m_serviceName + ": " + row.word),
      m_files(ostrel::ExternalCertificatesAccessor(service, row.word), group)
{
}

void CertificateStore::refuse(const std::string& id, const Certificate& certificate) const
{
    if (m_row->takesOnlyCAs && !certificate.isCA()) {
        throw Refusal(m_row->bad, "not a certificate authority");
    }
    if (has(id)) {
        throw Refusal(m_row->exists, "already there");
    }
    if (m_service->*m_row->isUniqueByCn && !idsByCN(certificate.commonName()).empty()) {
        throw Refusal(m_row->exists, "another one has its common name");
    }
    const std::size_t maximum = m_service->*m_row->maximum;
    if (maximum != 0 && m_entries.size() >= maximum) {
        throw Refusal(m_row->tooMany, "the store is full");
    }
}

// Throws before anything is changed if the certificate lacks one of its texts.
Summaries CertificateStore::summariesOf(const Certificate& certificate) const
{
    try {
        (void)certificate.record();
        return Summaries(certificate);
    } catch (const Refusal& caught) {
        throw Refusal(m_row->bad, caught.what());
    }
}

std::string CertificateStore::add(const Certificate& certificate)
{
    std::string id = certificate.id();
    refuse(id, certificate);
    const Summaries summaries = summariesOf(certificate);
    std::set<std::string> undone = {id};
    try {
        enter(id, certificate.commonName());
        putInPlace(id, certificate.pem(), summaries);
    } catch (const std::exception& caught) {
        forget(id);
        m_isMapStale = true;
        m_leftovers.take(undone);
        settle(true);
        throw Refusal(m_row->failedToAdd, caught.what());
    }
    return id;
}

void CertificateStore::putInPlace(const std::string& id, const std::string& pem,
                                  const Summaries& summaries)
{
    m_files.makeOverrides(id);
    m_entries[id].stamps = m_files.writeCertificate(id, pem, summaries);
    keepSpare();
    writeNames();
    m_files.write(m_files.cached, nameOf(m_files.paths.listPath()), m_list.text());
}

void CertificateStore::enter(const std::string& id, const std::string& commonName)
{
    m_entries[id].commonName = commonName;
    m_list.put(id, "\n");
    m_names.put(id, ' ' + commonName + '\n');
}

void CertificateStore::forget(const std::string& id) noexcept
{
    m_entries.erase(id);
    m_list.remove(id, '\n');
    m_names.remove(id, ' ');
}

void CertificateStore::writeNames() const
{
    m_files.write(m_files.volatiles, nameOf(m_files.paths.cnMapPath()), m_names.text());
}

// A list without any text counts as damaged.
const std::string& CertificateStore::fileTextOf(const SortedLines& list)
{
    static const std::string empty = "\n";
    return list.text().empty() ? empty : list.text();
}

void CertificateStore::judge(const std::string& id) const
{
    if (!has(id) && !hasFormOfId(id)) {
        throw Refusal(m_row->bad, "an argument is not an id");
    }
}

std::vector<std::string> CertificateStore::revoke(const std::vector<std::string>& ids)
{
    std::set<std::string> revoked;
    for (const std::string& id : ids) {
        judge(id);
        if (has(id)) {
            revoked.insert(id);
        }
    }
    std::vector<std::string> reply(revoked.begin(), revoked.end());
    if (revoked.empty()) {
        return reply;
    }
    SortedLines list = m_list;
    for (const std::string& id : revoked) {
        list.remove(id, '\n');
    }
    shortenList(fileTextOf(list));
    for (const std::string& id : revoked) {
        forget(id);
    }
    m_isMapStale = true;
    m_leftovers.take(revoked);
    settle(true);
    return reply;
}

// Uses the room of the spare file in two ways: some file systems write in place, others need
// the room of a deleted file.
void CertificateStore::shortenList(const std::string& list)
{
    const std::string name = nameOf(m_files.paths.listPath());
    try {
        m_files.write(m_files.cached, name, list);
        return;
    } catch (const std::runtime_error& caught) {
        if (m_spareSize == 0) {
            throw;
        }
        logEvent("{}: {}: the spare file gives its room", m_title, caught.what());
    }
    m_spareSize = 0;
    try {
        m_files.cached.replaceInRoomOf(spareName, name, list, {m_files.group, storeFileMode});
    } catch (const std::runtime_error&) {
        m_files.write(m_files.cached, name, list);
    }
}

// The text is that of lists, because a file system may compress it.
void CertificateStore::keepSpare()
{
    constexpr std::size_t step = 4096;
    const std::string& list = m_list.text();
    if (m_spareSize >= list.size()) {
        return;
    }
    const std::size_t size = (list.size() / step + 1) * step;
    std::string text;
    text.reserve(size + list.size());
    while (text.size() < size) {
        text += list;
    }
    text.resize(size);
    const Directory& cached = m_files.cached;
    cached.replace(spareName, text, {m_files.group, ownerOnlyMode}, cached);
    m_spareSize = size;
}

bool CertificateStore::retryRemovals() noexcept
{
    return settle(false);
}

// Removes files first, because that makes room.
bool CertificateStore::settle(bool isLogged) noexcept
{
    const bool isNoneLeft = m_leftovers.retry(m_title, isLogged, [this](const std::string& id) {
        if (!has(id)) {
            m_files.removeCertificate(id);
        }
    });
    m_isMapStale = m_isMapStale && !attempt(m_title, isLogged, [this] { writeNames(); });
    const bool hasSpare = m_spareSize != 0 || attempt(m_title, isLogged, [this] { keepSpare(); });
    return isNoneLeft && !m_isMapStale && hasSpare;
}

std::vector<std::string> CertificateStore::ids() const
{
    std::vector<std::string> ids;
    ids.reserve(m_entries.size());
    for (const auto& [id, entry] : m_entries) {
        ids.push_back(id);
    }
    return ids;
}

std::vector<std::string> CertificateStore::idsByCN(const std::string& cn) const
{
    std::vector<std::string> ids;
    for (const auto& [id, entry] : m_entries) {
        if (entry.commonName == cn) {
            ids.push_back(id);
        }
    }
    return ids;
}

} // namespace ostreld
