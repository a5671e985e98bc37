#pragma once

#include <ostrel/Export.h>

#include <string>

namespace ostrel
{

class ServiceConfiguration;

/// The paths of a service's own certificates (target "server") and of its pending
/// signing request. The library and the daemon use it. A value that does not change
/// after its construction. ExternalCertificatesAccessor explains persistent and
/// volatile; docs/FILES.md shows all paths.
///
/// Threads: several threads may use one object at once. Blocking: waits for nothing;
/// a constructor may read the daemon's configuration, and only getActive() looks on
/// disk. Errors: the constructors throw as DaemonConfiguration; a path may throw
/// std::bad_alloc.
///
///     const ostrel::InternalCertificatesAccessor own("web", "server");
///     std::string certificate = own.certPath(own.getActive());
class OSTREL_API InternalCertificatesAccessor
{
public:
    /// @{
    /// The paths of the store `target` of a service. The name of a service is that
    /// of its configuration file.
    InternalCertificatesAccessor(const std::string& service, const std::string& target);
    InternalCertificatesAccessor(const ServiceConfiguration& service, const std::string& target);
    /// @}

    /// The directory of the store's volatile files.
    std::string tmpDirectoryPath() const;
    /// The directory of the store's persistent files other than the certificates.
    std::string cachedDirectoryPath() const;
    /// The file that contains the id of the certificate in use (persistent).
    std::string activePath() const;
    /// The pending signing request in PEM (persistent).
    std::string csrPath() const;
    /// The addresses in the request (volatile); only the daemon reads it.
    std::string csrNetworkPath() const;
    /// The key of the request in PEM (volatile); only the daemon reads it.
    std::string csrKeyPath() const;
    /// The directory of the certificates (persistent), with a trailing slash.
    std::string certificateDirectoryPath() const;
    /// The certificate in PEM (persistent).
    std::string certPath(const std::string& id) const;
    /// Its private key in PEM (persistent).
    std::string certKeyPath(const std::string& id) const;
    /// The addresses in it (persistent); only the daemon reads it.
    std::string certNetworkPath(const std::string& id) const;
    /// Its summary in JSON (volatile); see CertificateInfo.
    std::string certInfoPath(const std::string& id) const;
    /// Its text for people (volatile).
    std::string certDetailsPath(const std::string& id) const;
    /// Its overrides (persistent); see ostrelApi::OverwrittenData.
    std::string certOverwrittenDataPath(const std::string& id) const;

    /// The id of the certificate in use: the first line of activePath(); empty when
    /// the file is empty. Throws std::ios_base::failure when the file cannot be
    /// opened.
    std::string getActive() const;

private:
    std::string m_certificateDirectory;
    std::string m_cachedDirectory;
    std::string m_activePath;
    std::string m_tmpDirectory;
    std::string m_csrDirectory;
};

} // namespace ostrel
