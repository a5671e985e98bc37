#include "commands/Stores.h"

#include <algorithm>

namespace ostrelctl
{

namespace
{

ostrl::CCertificateData serverRecord(OstrelService& service, const std::string& /*id*/)
{
    return service.getServerCertInfo();
}

ostrl::CCertificateData caRecord(OstrelService& service, const std::string& id)
{
    return service.getCACertInfo(id);
}

ostrl::CCertificateData clientRecord(OstrelService& service, const std::string& id)
{
    return service.getTrustedClientCertInfo(id);
}

} // namespace

const Store serverStore = {
    "server",
    ostrel::TargetServer,
    "Server",
    &OstrelService::hasServer,
    nullptr,
    &OstrelService::getServerCertificateList,
    nullptr,
    &OstrelService::getServerCertificate,
    &OstrelService::getServerCertificateInfo,
    serverRecord,
    &OstrelService::getServerCertificateDetails,
    &OstrelService::getServerCertificateOverwrittenData,
    nullptr,
    nullptr,
    nullptr,
};

const Store caStore = {
    "ca",
    ostrel::TargetCA,
    "CA",
    &OstrelService::hasCA,
    &OstrelService::maxCA,
    &OstrelService::getCAList,
    &OstrelService::getCAListByCN,
    &OstrelService::getCA,
    &OstrelService::getCAInfo,
    caRecord,
    &OstrelService::getCADetails,
    &OstrelService::getCAOverwrittenData,
    &OstrelService::revokeCA,
    &OstrelService::getIdCA,
    &OstrelService::getCADirectory,
};

const Store clientStore = {
    "client",
    ostrel::TargetClient,
    "TrustedClient",
    &OstrelService::hasTrustedClient,
    &OstrelService::maxTrustedClient,
    &OstrelService::getTrustedClientList,
    &OstrelService::getTrustedClientListByCN,
    &OstrelService::getTrustedClient,
    &OstrelService::getTrustedClientInfo,
    clientRecord,
    &OstrelService::getTrustedClientDetails,
    &OstrelService::getTrustedClientOverwrittenData,
    &OstrelService::revokeTrustedClient,
    &OstrelService::getIdTrustedClient,
    &OstrelService::getTrustedClientDirectory,
};

const std::vector<const Store*>& stores()
{
    static const std::vector<const Store*> all = {&serverStore, &caStore, &clientStore};
    return all;
}

const Store* storeCalled(const std::string& word)
{
    const auto& all = stores();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Store* store) { return word == store->word; });
    return found != all.end() ? *found : nullptr;
}

} // namespace ostrelctl
