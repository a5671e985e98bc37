#include <ostrelApi/OstrelService.h>

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/InternalCertificatesAccessor.h>
#include <ostrel/ServiceConfiguration.h>

#include "api/ExternalStore.h"
#include "protocol/Transport.h"
#include "tools/Descriptor.h"

#include <sys/file.h>

namespace ostrelApi
{

namespace
{

constexpr int alwaysFine = 1;

ostrel::Commands configCommand(ostrel::CommandType type)
{
    ostrel::Commands command;
    command.target = ostrel::TargetConfig;
    command.command = type;
    return command;
}

} // namespace

OstrelService::OstrelService(const std::string& serviceName)
    : m_configuration(std::make_unique<ostrel::ServiceConfiguration>(serviceName)),
      m_caAccessor(std::make_unique<ostrel::ExternalCertificatesAccessor>(*m_configuration, "ca")),
      m_trustedClientAccessor(
          std::make_unique<ostrel::ExternalCertificatesAccessor>(*m_configuration, "client")),
      m_serverAccessor(
          std::make_unique<ostrel::InternalCertificatesAccessor>(*m_configuration, "server"))
{
}

OstrelService::~OstrelService()
{
    // The path needs memory. Without the handler a failed allocation would end the program.
    try {
        // Intended: this releases no lock that is held through another descriptor.
        const auto lock = ostrel::Descriptor::open(getLockPath(), O_WRONLY);
        if (lock.isOpen()) {
            ::flock(lock.get(), LOCK_UN);
        }
    } catch (...) {
    }
}

bool OstrelService::hasServer() const
{
    return m_configuration->m_server;
}

bool OstrelService::hasCA() const
{
    return m_configuration->m_ca;
}

unsigned short OstrelService::maxCA() const
{
    return m_configuration->m_maximumCA;
}

bool OstrelService::hasTrustedClient() const
{
    return m_configuration->m_trustedClients;
}

unsigned short OstrelService::maxTrustedClient() const
{
    return m_configuration->m_maximumTrustedClients;
}

std::string OstrelService::getServiceName() const
{
    return m_configuration->m_name;
}

bool OstrelService::isServiceRunning()
{
    ostrel::Commands command = configCommand(ostrel::CommandStatus);
    return sendCommandToServer(command) == "running";
}

void OstrelService::reloadService()
{
    ostrel::Commands command = configCommand(ostrel::CommandReload);
    sendCommandToServer(command);
}

std::vector<std::string> OstrelService::getServiceList()
{
    return ostrel::ServiceConfiguration::getServiceList();
}

int OstrelService::getHealthStatus()
{
    return alwaysFine;
}

int OstrelService::getOperatingStatus()
{
    return getHealthStatus();
}

std::string OstrelService::sendCommandToServer(ostrel::Commands& command)
{
    return exchange(command, pipes());
}

std::string OstrelService::getLockPath() const
{
    return pipes().lock;
}

std::string OstrelService::pipeDirectory() const
{
    // Not from DaemonConfiguration: a service object in a static may be destroyed after it.
    const std::string caDirectory = m_caAccessor->tmpDirectoryPath();
    return caDirectory.substr(0, caDirectory.rfind('/'));
}

ServicePipes OstrelService::pipes() const
{
    ServicePipes all =
        pipesOf(pipeDirectory(), m_configuration->m_serviceName, m_configuration->m_managmentGroup);
    all.daemonUser = ostrel::DaemonConfiguration::getDaemonUser;
    return all;
}

OstrelService::ExternalStore OstrelService::caStore() const
{
    requireStore(hasCA(), "CA");
    return {*m_caAccessor, ostrel::TargetCA, BadCA, "CA"};
}

OstrelService::ExternalStore OstrelService::trustedClientStore() const
{
    requireStore(hasTrustedClient(), "trusted client");
    return {*m_trustedClientAccessor, ostrel::TargetClient, BadTrustedClient, "trusted client"};
}

} // namespace ostrelApi
