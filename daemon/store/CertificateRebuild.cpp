// CertificateStore: puts a store in order from what the disk contains.

#include "store/CertificateStore.h"

#include <ostrel/CertificateIdList.h>

#include <algorithm>
#include <new>

namespace ostreld
{

namespace
{

std::vector<std::string> idsIn(const std::string& list)
{
    std::vector<std::string> ids = ostrel::CertificateIdList(list, '\n').toArray();
    ids.erase(std::remove(ids.begin(), ids.end(), ""), ids.end());
    return ids;
}

std::vector<std::string> allOf(DirectoryNames names)
{
    std::vector<std::string> all;
    while (const char* name = names.next()) {
        all.emplace_back(name);
    }
    return all;
}

} // namespace

void CertificateStore::rebuild(const CertificateStore* former)
{
    constexpr std::size_t many = 1000;
    beginRebuild(former);
    while (rebuildSome(many)) {
    }
}

// If the list is lost, each certificate whose file has the right name counts as listed.
void CertificateStore::beginRebuild(const CertificateStore* former)
{
    m_former = former;
    m_entries.clear();
    m_list = {};
    m_names = {};
    m_stage = Stage::Reading;
    m_cleaned = 0;
    m_toClean = {};
    m_files.makeDirectories();
    m_listStamp = listStamp();
    const std::string name = nameOf(m_files.paths.listPath());
    const std::string list = m_listStamp.inode != 0 ? m_files.cached.read(name) : "";
    m_isListLost = list.empty();
    m_toRead = m_isListLost ? allOf(m_files.certificates.names()) : idsIn(list);
}

bool CertificateStore::rebuildSome(std::size_t steps)
{
    // The former store may have changed the list.
    if (m_stage != Stage::Done && !(listStamp() == m_listStamp)) {
        beginRebuild(m_former);
    }
    for (; steps > 0 && m_stage != Stage::Done; --steps) {
        rebuildOne();
    }
    return m_stage != Stage::Done;
}

void CertificateStore::rebuildOne()
{
    switch (m_stage) {
    case Stage::Reading:
        return readNext();
    case Stage::Cleaning:
        return cleanNext();
    case Stage::Writing:
        return finishRebuild();
    case Stage::Done:
        return;
    }
}

FileStamp CertificateStore::listStamp() const
{
    const auto found = m_files.cached.status(nameOf(m_files.paths.listPath()));
    return found ? stampOf(*found) : FileStamp();
}

void CertificateStore::readNext()
{
    if (m_toRead.empty()) {
        m_stage = Stage::Cleaning;
        return;
    }
    const std::string id = std::move(m_toRead.back());
    m_toRead.pop_back();
    if (!isToBeListed(id)) {
        return;
    }
    // It stays listed if this fails: only the device's owner can have put such a file there.
    Entry& entry = m_entries[id];
    try {
        refresh(id, entry);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& caught) {
        logEvent("{} {}: {}", m_title, id, caught.what());
    }
}

bool CertificateStore::isToBeListed(const std::string& id) const
{
    const bool isName = id.front() != '.' && id.find('/') == std::string::npos;
    const auto found = isName ? m_files.certificates.status(id) : std::nullopt;
    if (m_isListLost) {
        const bool isCertificate = found && S_ISREG(found->st_mode) && isCertificateNamed(id);
        if (isCertificate) {
            logEvent("{} {}: no list names it, but it stays", m_title, id);
        }
        return isCertificate;
    }
    if (!found) {
        logEvent("{} {} has no file: listed no more", m_title, id);
    }
    return found.has_value();
}

bool CertificateStore::isCertificateNamed(const std::string& id) const
{
    const std::string text = m_files.certificateText(id);
    try {
        return Certificate(text).id() == id;
    } catch (const Refusal&) {
        return false;
    }
}

const CertificateStore::Entry* CertificateStore::find(const std::string& id) const
{
    const auto found = m_entries.find(id);
    return found != m_entries.end() ? &found->second : nullptr;
}

void CertificateStore::refresh(const std::string& id, Entry& entry) const
{
    const CertificateStamps stamps = m_files.share(id);
    const Entry* known = m_former != nullptr ? m_former->find(id) : nullptr;
    if (known != nullptr && known->stamps == stamps) {
        entry = *known;
        return;
    }
    const Certificate certificate(m_files.certificateText(id));
    entry.commonName = certificate.commonName();
    m_files.updateSummaries(id, Summaries(certificate), entry.stamps);
    entry.stamps.certificate = stamps.certificate;
}

void CertificateStore::cleanNext()
{
    const Directory* const directories[] = {&m_files.certificates, &m_files.cached,
                                            &m_files.volatiles};
    const char* name = m_toClean.isOpen() ? m_toClean.next() : nullptr;
    if (name != nullptr) {
        m_files.removeUnless(isNeeded(name), *directories[m_cleaned - 1], name);
    } else if (m_cleaned < std::size(directories)) {
        m_toClean = directories[m_cleaned++]->names();
    } else {
        m_toClean = {};
        m_stage = Stage::Writing;
    }
}

bool CertificateStore::isNeeded(const std::string& name) const
{
    return name == spareName || name == nameOf(m_files.paths.listPath()) ||
           name == nameOf(m_files.paths.cnMapPath()) || has(name) ||
           has(name.substr(0, name.rfind('.')));
}

void CertificateStore::finishRebuild()
{
    const auto spare = m_files.cached.status(spareName);
    m_spareSize = spare ? static_cast<std::size_t>(spare->st_size) : 0;
    for (const auto& [id, entry] : m_entries) {
        m_list.put(id, "\n");
        m_names.put(id, ' ' + entry.commonName + '\n');
    }
    m_files.update(m_files.volatiles, nameOf(m_files.paths.cnMapPath()), m_names.text());
    m_files.update(m_files.cached, nameOf(m_files.paths.listPath()), fileTextOf(m_list));
    attempt(m_title, true, [this] { keepSpare(); });
    m_former = nullptr;
    m_stage = Stage::Done;
}

} // namespace ostreld
