#include <ostrel/ExternalCertificatesAccessor.h>

#include <ostrel/ServiceConfiguration.h>

#include "store/StorePaths.h"

namespace ostrel
{

ExternalCertificatesAccessor::ExternalCertificatesAccessor(const std::string& service,
                                                           const std::string& target)
    : m_certificateDirectory(persistentDirectory(service, target)),
      m_cachedDirectory(below(m_certificateDirectory, cachedDirectoryName)),
      m_listPath(below(m_cachedDirectory, "list.txt")),
      m_tmpDirectory(volatileDirectory(service, target)),
      m_cnMapPath(below(m_tmpDirectory, "id_cn.map"))
{
}

ExternalCertificatesAccessor::ExternalCertificatesAccessor(const ServiceConfiguration& service,
                                                           const std::string& target)
    : ExternalCertificatesAccessor(service.m_serviceName, target)
{
}

std::string ExternalCertificatesAccessor::tmpDirectoryPath() const
{
    return m_tmpDirectory;
}

std::string ExternalCertificatesAccessor::cachedDirectoryPath() const
{
    return m_cachedDirectory;
}

std::string ExternalCertificatesAccessor::listPath() const
{
    return m_listPath;
}

std::string ExternalCertificatesAccessor::cnMapPath() const
{
    return m_cnMapPath;
}

std::string ExternalCertificatesAccessor::certificateDirectoryPath() const
{
    return m_certificateDirectory + '/';
}

std::string ExternalCertificatesAccessor::certPath(const std::string& id) const
{
    return below(m_certificateDirectory, id);
}

std::string ExternalCertificatesAccessor::certInfoPath(const std::string& id) const
{
    return below(m_tmpDirectory, id + ".info");
}

std::string ExternalCertificatesAccessor::certDetailsPath(const std::string& id) const
{
    return below(m_tmpDirectory, id + ".detail");
}

std::string ExternalCertificatesAccessor::certOverwrittenDataPath(const std::string& id) const
{
    return below(m_cachedDirectory, id + ".overwrite");
}

} // namespace ostrel
