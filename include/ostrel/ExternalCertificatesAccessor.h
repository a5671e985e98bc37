#pragma once

#include <ostrel/Export.h>

#include <string>

namespace ostrel
{

class ServiceConfiguration;

/// The paths of one store of certificates from outside: the CAs (target "ca") or
/// the trusted clients (target "client") of a service. The library and the daemon
/// use it. A value that does not change after its construction.
///
/// Persistent files survive a power cut: certificates, id list and overrides, below
/// DaemonConfiguration::getOstrelDirectory(). Volatile files are written again when
/// the daemon starts: id-to-CN map, summaries and texts, below
/// DaemonConfiguration::getNamePipesDirectory(). docs/FILES.md shows all paths.
///
/// The class does not look on disk, and uses `id` as it is given, without any check.
///
/// Threads: several threads may use one object at once. Blocking: waits for nothing;
/// a constructor may read the daemon's configuration. Errors: the constructors throw
/// as DaemonConfiguration; a path may throw std::bad_alloc.
///
///     const ostrel::ExternalCertificatesAccessor cas("web", "ca");
///     std::ifstream list(cas.listPath());
class OSTREL_API ExternalCertificatesAccessor
{
public:
    /// @{
    /// The paths of the store `target` of a service. The name of a service is that
    /// of its configuration file.
    ExternalCertificatesAccessor(const std::string& service, const std::string& target);
    ExternalCertificatesAccessor(const ServiceConfiguration& service, const std::string& target);
    /// @}

    /// The directory of the store's volatile files.
    std::string tmpDirectoryPath() const;
    /// The directory of the store's persistent files other than the certificates.
    std::string cachedDirectoryPath() const;
    /// The id list (persistent); see CertificateIdList.
    std::string listPath() const;
    /// The id-to-CN map (volatile); see CertificateIdCnMap.
    std::string cnMapPath() const;
    /// The directory of the certificates (persistent), with a trailing slash.
    std::string certificateDirectoryPath() const;
    /// The certificate in PEM (persistent).
    std::string certPath(const std::string& id) const;
    /// Its summary in JSON (volatile); see CertificateInfo.
    std::string certInfoPath(const std::string& id) const;
    /// Its text for people (volatile).
    std::string certDetailsPath(const std::string& id) const;
    /// Its overrides (persistent); see ostrelApi::OverwrittenData.
    std::string certOverwrittenDataPath(const std::string& id) const;

private:
    std::string m_certificateDirectory;
    std::string m_cachedDirectory;
    std::string m_listPath;
    std::string m_tmpDirectory;
    std::string m_cnMapPath;
};

} // namespace ostrel
