#include <ostrel/InternalCertificatesAccessor.h>

#include <ostrel/ServiceConfiguration.h>

#include "store/StorePaths.h"
#include "tools/TextFile.h"

#include <cerrno>
#include <ios>

namespace ostrel
{

InternalCertificatesAccessor::InternalCertificatesAccessor(const std::string& service,
                                                           const std::string& target)
    : m_certificateDirectory(persistentDirectory(service, target)),
      m_cachedDirectory(below(m_certificateDirectory, cachedDirectoryName)),
      m_activePath(below(m_cachedDirectory, "active.txt")),
      m_tmpDirectory(volatileDirectory(service, target)), m_csrDirectory(m_tmpDirectory)
{
}

InternalCertificatesAccessor::InternalCertificatesAccessor(const ServiceConfiguration& service,
                                                           const std::string& target)
    : InternalCertificatesAccessor(service.m_serviceName, target)
{
}

std::string InternalCertificatesAccessor::tmpDirectoryPath() const
{
    return m_tmpDirectory;
}

std::string InternalCertificatesAccessor::cachedDirectoryPath() const
{
    return m_cachedDirectory;
}

std::string InternalCertificatesAccessor::activePath() const
{
    return m_activePath;
}

std::string InternalCertificatesAccessor::csrPath() const
{
    return below(m_cachedDirectory, "csr.csr");
}

std::string InternalCertificatesAccessor::csrNetworkPath() const
{
    return below(m_csrDirectory, "csr.network");
}

std::string InternalCertificatesAccessor::csrKeyPath() const
{
    return below(m_csrDirectory, "csr.key");
}

std::string InternalCertificatesAccessor::certificateDirectoryPath() const
{
    return m_certificateDirectory + '/';
}

std::string InternalCertificatesAccessor::certPath(const std::string& id) const
{
    return below(m_certificateDirectory, id);
}

std::string InternalCertificatesAccessor::certKeyPath(const std::string& id) const
{
    return below(m_certificateDirectory, id + ".key");
}

std::string InternalCertificatesAccessor::certNetworkPath(const std::string& id) const
{
    return below(m_cachedDirectory, id + ".network");
}

std::string InternalCertificatesAccessor::certInfoPath(const std::string& id) const
{
    return below(m_tmpDirectory, id + ".info");
}

std::string InternalCertificatesAccessor::certDetailsPath(const std::string& id) const
{
    return below(m_tmpDirectory, id + ".detail");
}

std::string InternalCertificatesAccessor::certOverwrittenDataPath(const std::string& id) const
{
    return below(m_cachedDirectory, id + ".overwrite");
}

std::string InternalCertificatesAccessor::getActive() const
{
    const TextFile file = readTextFile(m_activePath);
    if (!file.isOpen) {
        throw std::ios_base::failure("Impossible to open " + m_activePath,
                                     std::error_code(errno, std::generic_category()));
    }
    return std::string(TextLines(file.text).next());
}

} // namespace ostrel
