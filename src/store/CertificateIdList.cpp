#include <ostrel/CertificateIdList.h>

#include <ostrl/splitstr.h>

#include "store/ListFile.h"

#include <algorithm>

namespace ostrel
{

CertificateIdList::CertificateIdList(const std::string& path)
{
    readFromFile(path);
}

CertificateIdList::CertificateIdList(const std::string& text, char separator)
    : CertificateIdList(splitstr(text, separator))
{
}

CertificateIdList::CertificateIdList(const std::vector<std::string>& ids) : m_ids(ids)
{
    makeAscendingAndUnique(m_ids);
}

bool CertificateIdList::exist(const std::string& id) const
{
    return std::binary_search(m_ids.begin(), m_ids.end(), id);
}

std::vector<std::string> CertificateIdList::toArray() const
{
    return m_ids;
}

std::string CertificateIdList::toTextList(const std::string& separator) const
{
    std::string text;
    for (const std::string& id : m_ids) {
        text += id + separator;
    }
    return text;
}

void CertificateIdList::readFromFile(const std::string& path)
{
    std::vector<std::string> ids = readIds(path);
    ids.insert(ids.end(), m_ids.begin(), m_ids.end());
    makeAscendingAndUnique(ids);
    m_ids = std::move(ids);
}

// Intended: `truncate` is ignored.
void CertificateIdList::writeIntoFile(const std::string& path, bool /*truncate*/) const
{
    const Descriptor file = createListFile(path);
    for (const std::string& id : m_ids) {
        writeListLine(file, id);
    }
}

} // namespace ostrel
