#include <ostrelApi/OstrelService.h>

#include <ostrel/InternalCertificatesAccessor.h>
#include <ostrel/ServiceConfiguration.h>

#include "api/Steps.h"
#include "errors/Fail.h"
#include "tools/Descriptor.h"

#include <cerrno>

#include <sys/stat.h>

namespace ostrelApi
{

namespace
{

const char caCbCompliant[] = "CA-CB_compliant";

} // namespace

const ostrel::InternalCertificatesAccessor& OstrelService::serverStore() const
{
    requireStore(hasServer(), "server");
    return *m_serverAccessor;
}

void OstrelService::sendServerCommand(ostrel::CommandType type,
                                      const std::vector<std::string>& arguments)
{
    serverStore();
    ostrel::Commands command;
    command.target = ostrel::TargetServer;
    command.command = type;
    command.arguments = arguments;
    sendCommandToServer(command);
}

void OstrelService::createServerCsr()
{
    sendServerCommand(ostrel::CommandCreateCsr, {});
}

void OstrelService::createServerCsr(const ConfiguredField& fields)
{
    sendServerCommand(ostrel::CommandCreateCsr, fields.isCaCbCompliant
                                                    ? std::vector<std::string>{caCbCompliant}
                                                    : std::vector<std::string>{});
}

// Intended: the id is not sent; the daemon revokes the certificate in use.
void OstrelService::revokeServerCertificate(const std::string& /*id*/)
{
    sendServerCommand(ostrel::CommandRevoke, {});
}

void OstrelService::requirePendingCsr()
{
    serverStore();
    if (getServerCsrTimestamp() == 0) {
        fail(NoCsr, "no signing request is pending");
    }
}

void OstrelService::applyServerCertificate(const std::string& certificate)
{
    requirePendingCsr();
    try {
        addCertificate(ostrel::TargetServer, certificate);
    } catch (...) {
        failImport({"Exception caught while adding certificate. ",
                    "Standard exception caught while adding certificate. ",
                    "Unknown exception caught while adding certificate."});
    }
}

// Intended: unlike applyServerCertificate(), this does not convert what the import throws.
void OstrelService::applyServerCertificateFile(const std::string& path)
{
    requirePendingCsr();
    addCertificateFile(ostrel::TargetServer, path);
}

std::string OstrelService::getServerCsr()
{
    return linesOf(serverStore().csrPath(), NoCsr);
}

std::int64_t OstrelService::getServerCsrTimestamp()
{
    struct stat status {
    };
    // Intended: st_ctime, the last status change, and not st_mtime.
    return ::stat(serverStore().csrPath().c_str(), &status) == 0 ? status.st_ctime : 0;
}

// Intended: `id` is ignored; the configuration answers for the whole service.
bool OstrelService::isServerKeyInTPM(const std::string& /*id*/)
{
    serverStore();
    return m_configuration->m_opensslEngine;
}

std::string OstrelService::idOrActive(const std::string& id)
{
    serverStore();
    return id.empty() ? getServerActiveCertificateId() : id;
}

std::string OstrelService::getServerKey(const std::string& id)
{
    return linesOf(m_serverAccessor->certKeyPath(idOrActive(id)), ActionFailed);
}

std::string OstrelService::getServerCertificate(const std::string& id)
{
    return getCertificate(ostrel::TargetServer, m_serverAccessor->certPath(idOrActive(id)));
}

std::string OstrelService::getServerCertificatePath(const std::string& id)
{
    const std::string path = m_serverAccessor->certPath(idOrActive(id));
    if (!ostrel::Descriptor::open(path, O_RDONLY).isOpen()) {
        fail(ActionFailed, "cannot open", path, errno);
    }
    return path;
}

std::string OstrelService::getServerActiveCertificateId()
{
    const std::string text = linesOf(serverStore().activePath(), ActionFailed);
    return text.substr(0, text.find('\n'));
}

std::vector<std::string> OstrelService::getServerCertificateList()
{
    return {getServerActiveCertificateId()};
}

} // namespace ostrelApi
