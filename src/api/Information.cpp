#include <ostrelApi/OstrelService.h>

#include <ostrel/CertificateInfo.h>
#include <ostrel/InternalCertificatesAccessor.h>

#include "api/ExternalStore.h"

namespace ostrelApi
{

namespace
{

using Map = std::map<std::string, std::string>;

Map infoOf(const std::string& path)
{
    return ostrel::CertificateInfo(path).getMap();
}

} // namespace

// The paths of the store. Throws the store's outcome when the certificate does not exist.
const ostrel::ExternalCertificatesAccessor&
OstrelService::pathsOfExisting(const ExternalStore& store, const std::string& id)
{
    requireFile(store.accessor.certPath(id), store.badCertificate);
    return store.accessor;
}

template <class Record>
Record OstrelService::recordFromDaemon(ostrel::TypeTarget target, ostrel::CommandType type,
                                       const std::vector<std::string>& arguments)
{
    ostrel::Commands command;
    command.target = target;
    command.command = type;
    command.arguments = arguments;
    Record record;
    record.from(sendCommandToServer(command));
    return record;
}

ostrl::CCertificateData OstrelService::certificateRecord(ostrel::TypeTarget target,
                                                         const std::string& path)
{
    return recordFromDaemon<ostrl::CCertificateData>(target, ostrel::CommandGetCertInfo, {path});
}

ostrl::CCSRData OstrelService::getCsrInfo()
{
    requireFile(serverStore().csrPath(), NoCsr);
    return recordFromDaemon<ostrl::CCSRData>(ostrel::TargetServer, ostrel::CommandGetCsrInfo, {});
}

ostrl::CCertificateData OstrelService::getTrustedClientCertInfo(const std::string& id)
{
    const ExternalStore store = trustedClientStore();
    return certificateRecord(store.target, pathsOfExisting(store, id).certPath(id));
}

ostrl::CCertificateData OstrelService::getCACertInfo(const std::string& id)
{
    const ExternalStore store = caStore();
    return certificateRecord(store.target, pathsOfExisting(store, id).certPath(id));
}

ostrl::CCertificateData OstrelService::getServerCertInfo()
{
    const std::string path = serverStore().certPath(getServerActiveCertificateId());
    requireFile(path, NoServerCertificate);
    return certificateRecord(ostrel::TargetServer, path);
}

Map OstrelService::getCAInfo(const std::string& id)
{
    return infoOf(pathsOfExisting(caStore(), id).certInfoPath(id));
}

Map OstrelService::getTrustedClientInfo(const std::string& id)
{
    return infoOf(pathsOfExisting(trustedClientStore(), id).certInfoPath(id));
}

Map OstrelService::getServerCertificateInfo(const std::string& id)
{
    return infoOf(m_serverAccessor->certInfoPath(idOrActive(id)));
}

std::string OstrelService::getCADetails(const std::string& id)
{
    return getCertificateDetails(pathsOfExisting(caStore(), id).certDetailsPath(id));
}

std::string OstrelService::getTrustedClientDetails(const std::string& id)
{
    return getCertificateDetails(pathsOfExisting(trustedClientStore(), id).certDetailsPath(id));
}

std::string OstrelService::getServerCertificateDetails(const std::string& id)
{
    return getCertificateDetails(m_serverAccessor->certDetailsPath(idOrActive(id)));
}

std::string OstrelService::getCertificateDetails(const std::string& path)
{
    return linesOf(path, ActionFailed);
}

OverwrittenData OstrelService::getCAOverwrittenData(const std::string& id)
{
    return OverwrittenData(pathsOfExisting(caStore(), id).certOverwrittenDataPath(id));
}

OverwrittenData OstrelService::getTrustedClientOverwrittenData(const std::string& id)
{
    return OverwrittenData(pathsOfExisting(trustedClientStore(), id).certOverwrittenDataPath(id));
}

OverwrittenData OstrelService::getServerCertificateOverwrittenData(const std::string& id)
{
    return OverwrittenData(m_serverAccessor->certOverwrittenDataPath(idOrActive(id)));
}

} // namespace ostrelApi
