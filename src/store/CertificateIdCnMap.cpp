#include <ostrel/CertificateIdCnMap.h>

#include "store/IdCnLines.h"
#include "store/ListFile.h"

namespace ostrel
{

CertificateIdCnMap::CertificateIdCnMap(const std::string& path)
{
    readFromFile(path);
}

void CertificateIdCnMap::readFromFile(const std::string& path)
{
    const std::string text = readListFile(path);
    for (const IdCnLine& entry : idCnLinesOf(text)) {
        m_entries.emplace_hint(m_entries.end(), entry);
    }
}

// Intended: `truncate` is ignored.
void CertificateIdCnMap::writeIntoFile(const std::string& path, bool /*truncate*/) const
{
    const Descriptor file = createListFile(path);
    for (const auto& entry : m_entries) {
        writeListLine(file, entry.first + ' ' + entry.second);
    }
}

CertificateIdList CertificateIdCnMap::toCertificateIdList() const
{
    std::vector<std::string> ids;
    for (const auto& entry : m_entries) {
        ids.push_back(entry.first);
    }
    return CertificateIdList(ids);
}

bool CertificateIdCnMap::certificateIdExist(const std::string& id) const
{
    return m_entries.count(id) != 0;
}

} // namespace ostrel
