#pragma once

#include <ostrel/Export.h>

#include <string>

namespace ostrel
{

class ServiceConfiguration;

/// The paths of a service's own certificates (target "server") and of its
/// pending signing request. See ExternalCertificatesAccessor for what is
/// persistent and what is volatile.
///
/// Immutable once built, so any thread may read it. The constructors throw as
/// DaemonConfiguration does; only getActive() looks on disk.
///
///     const ostrel::InternalCertificatesAccessor own("web", "server");
///     std::string certificate = own.certPath(own.getActive());
class OSTREL_API InternalCertificatesAccessor
{
public:
    /// @{
    /// The paths of the store `target` of a service, by the name that finds its
    /// configuration.
    InternalCertificatesAccessor(const std::string& service, const std::string& target);
    InternalCertificatesAccessor(const ServiceConfiguration& service, const std::string& target);
    /// @}

    /// Directory of the volatile files.
    std::string tmpDirectoryPath() const;
    /// Directory of the persistent files beside the certificates.
    std::string cachedDirectoryPath() const;
    /// The file that names the certificate in use.
    std::string activePath() const;
    /// The pending signing request, PEM.
    std::string csrPath() const;
    /// The addresses that went into the request; the daemon's.
    std::string csrNetworkPath() const;
    /// The key of the request, PEM; the daemon's.
    std::string csrKeyPath() const;
    /// Directory of the certificates, with a trailing slash.
    std::string certificateDirectoryPath() const;
    /// The certificate itself, PEM.
    std::string certPath(const std::string& id) const;
    /// Its private key, PEM.
    std::string certKeyPath(const std::string& id) const;
    /// The addresses that went into it; the daemon's.
    std::string certNetworkPath(const std::string& id) const;
    /// Its summary, JSON.
    std::string certInfoPath(const std::string& id) const;
    /// Its full text.
    std::string certDetailsPath(const std::string& id) const;
    /// Its overrides.
    std::string certOverwrittenDataPath(const std::string& id) const;

    /// The id of the certificate in use: the first line of activePath(), empty
    /// for an empty file. Throws std::ios_base::failure when the file cannot
    /// be opened.
    std::string getActive() const;

private:
    std::string m_certificateDirectory;
    std::string m_cachedDirectory;
    std::string m_activePath;
    std::string m_tmpDirectory;
    std::string m_csrDirectory;
};

} // namespace ostrel
