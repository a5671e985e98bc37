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

ServicePipes pipesOfService(const ostrel::ServiceConfiguration& service)
{
    return pipesOf(ostrel::DaemonConfiguration::getNamePipesDirectory(), service.m_serviceName,
                   service.m_managmentGroup);
}

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
    // Intended: a courtesy that releases nothing held through another descriptor.
    const auto lock = ostrel::Descriptor::open(pipesOfService(*m_configuration).lock, O_WRONLY);
    if (lock.isOpen()) {
        ::flock(lock.get(), LOCK_UN);
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
    return exchange(command, pipesOfService(*m_configuration));
}

std::string OstrelService::getLockPath() const
{
    return pipesOfService(*m_configuration).lock;
}

OstrelService::ExternalStore OstrelService::caStore() const
{
    requireStore(hasCA());
    return {*m_caAccessor, ostrel::TargetCA, BadCA, "CA"};
}

OstrelService::ExternalStore OstrelService::trustedClientStore() const
{
    requireStore(hasTrustedClient());
    return {*m_trustedClientAccessor, ostrel::TargetClient, BadTrustedClient, "trusted client"};
}

} // namespace ostrelApi
