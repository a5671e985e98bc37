#include <ostrel/CertificateIdList.h>

#include <ostrl/splitstr.h>

#include "store/ListFile.h"
#include "tools/TextFile.h"

#include <algorithm>
#include <functional>

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
    normalise();
}

bool CertificateIdList::exist(const std::string& id) const
{
    return std::binary_search(m_ids.begin(), m_ids.end(), id);
}

std::vector<std::string> CertificateIdList::toArray() const&
{
    return m_ids;
}

std::vector<std::string> CertificateIdList::toArray() &&
{
    return std::move(m_ids);
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
    const std::string text = readListFile(path);
    for (TextLines lines(text); !lines.isAtEnd();) {
        const std::string_view id = lines.next();
        if (!id.empty()) {
            m_ids.emplace_back(id);
        }
    }
    normalise();
}

// Intended: `truncate` makes no difference.
void CertificateIdList::writeIntoFile(const std::string& path, bool /*truncate*/) const
{
    const Descriptor file = createListFile(path);
    for (const std::string& id : m_ids) {
        writeListLine(file, id);
    }
}

void CertificateIdList::normalise()
{
    // A list file is in order already, and then nothing is to be done.
    const auto disorder =
        std::adjacent_find(m_ids.begin(), m_ids.end(), std::greater_equal<std::string>());
    if (disorder != m_ids.end()) {
        std::sort(disorder, m_ids.end());
        std::inplace_merge(m_ids.begin(), disorder, m_ids.end());
        m_ids.erase(std::unique(m_ids.begin(), m_ids.end()), m_ids.end());
    }
}

} // namespace ostrel
