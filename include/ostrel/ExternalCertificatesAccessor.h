#pragma once

#include <ostrel/Export.h>

#include <string>

namespace ostrel
{

class ServiceConfiguration;

/// The paths of one store of certificates that come from outside: the CAs
/// (target "ca") or the trusted clients (target "client") of a service.
///
/// Certificates and the id list lie below the daemon's persistent directory;
/// the id-to-CN map, summaries and detail texts are volatile and lie below the
/// directory of the named pipes. Nothing is normalised and nothing is looked up
/// on disk; `id` is used as it is given. docs/FILES.md shows all paths.
///
/// Immutable once built, so any thread may read it. The constructors throw as
/// DaemonConfiguration does.
///
///     const ostrel::ExternalCertificatesAccessor cas("web", "ca");
///     std::ifstream list(cas.listPath());
class OSTREL_API ExternalCertificatesAccessor
{
public:
    /// @{
    /// The paths of the store `target` of a service, by the name that finds its
    /// configuration.
    ExternalCertificatesAccessor(const std::string& service, const std::string& target);
    ExternalCertificatesAccessor(const ServiceConfiguration& service, const std::string& target);
    /// @}

    /// Directory of the volatile files.
    std::string tmpDirectoryPath() const;
    /// Directory of the persistent files beside the certificates.
    std::string cachedDirectoryPath() const;
    /// The id list.
    std::string listPath() const;
    /// The id-to-CN map.
    std::string cnMapPath() const;
    /// Directory of the certificates, with a trailing slash.
    std::string certificateDirectoryPath() const;
    /// The certificate itself, PEM.
    std::string certPath(const std::string& id) const;
    /// Its summary, JSON.
    std::string certInfoPath(const std::string& id) const;
    /// Its full text.
    std::string certDetailsPath(const std::string& id) const;
    /// Its overrides.
    std::string certOverwrittenDataPath(const std::string& id) const;

private:
    std::string m_certificateDirectory;
    std::string m_cachedDirectory;
    std::string m_listPath;
    std::string m_tmpDirectory;
    std::string m_cnMapPath;
};

} // namespace ostrel
