#pragma once

// Shared by the tests of the library against the daemon: a device with two
// services, the daemon, and calls whose outcome is a text.

#include "support/Accounts.h"
#include "support/Device.h"
#include "support/RunningDaemon.h"

#include <ostrel/Commands.h>
#include <ostrelApi/OstrelApiException.h>
#include <ostrelApi/OstrelService.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace daemon_case
{

/// The group that manages the services, and its id. The id is root's where the
/// namespace has no other.
constexpr char managers[] = "ostrel";
inline gid_t managersId()
{
    return support::Accounts::hasOtherIds() ? 4711 : 0;
}

inline const char webConfiguration[] = "name Web server\n"
                                       "managmentGroup ostrel\n"
                                       "ca yes\n"
                                       "trustedClients yes\n";
inline const char vpnConfiguration[] = "name VPN gateway\n"
                                       "managmentGroup ostrel\n"
                                       "ca yes\n";

inline std::string payload(const std::string& text)
{
    return "payload: " + text;
}

inline std::string refusal(int returnCode)
{
    return ostrelApi::OstrelApiException(returnCode).getErrorMessage();
}

/// Sends one command and returns the outcome, in the form of payload() or
/// refusal().
inline std::string ask(const std::string& serviceName, ostrel::TypeTarget target,
                       ostrel::CommandType type, const std::vector<std::string>& arguments = {})
{
    try {
        ostrelApi::OstrelService service(serviceName);
        ostrel::Commands command;
        command.target = target;
        command.command = type;
        command.arguments = arguments;
        return payload(service.sendCommandToServer(command));
    } catch (const ostrelApi::OstrelApiException& caught) {
        return caught.getErrorMessage();
    }
}

inline std::string askStatus(const std::string& serviceName)
{
    return ask(serviceName, ostrel::TargetConfig, ostrel::CommandStatus);
}

/// A device with the services "web" (CAs and trusted clients) and "vpn" (CAs);
/// no daemon runs yet.
class WithDevice : public testing::Test
{
protected:
    WithDevice()
    {
        support::Accounts::addGroup(std::string(managers) + ":x:" + std::to_string(managersId()) +
                                    ":");
        device.addService("web", webConfiguration);
        device.addService("vpn", vpnConfiguration);
    }

    /// The path of a service's pipe file. `suffix` is "lock", "in" or "out".
    std::string pipe(const std::string& service, const std::string& suffix) const
    {
        return pipeDirectory(service) + '/' + service + '.' + suffix;
    }
    std::string pipeDirectory(const std::string& service) const
    {
        return device.pipesDirectory() + '/' + service;
    }

    const support::Accounts accounts;
    const support::Device device;
    support::RunningDaemon daemon;
};

/// A WithDevice on which the daemon runs.
class WithDaemon : public WithDevice
{
protected:
    WithDaemon() { daemon.start(); }
};

} // namespace daemon_case
