// The commands on a service's own certificate.

#include "commands/Service.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "store/StoreTexts.h"
#include "x509/SigningRequest.h"

#include <ostrel/DaemonConfiguration.h>

#include <charconv>

namespace ostreld
{

using ostrel::Commands;

namespace
{

constexpr const char compliantArgument[] = "CA-CB_compliant";
constexpr std::uint32_t longestValidityDays = 36500;

std::uint32_t daysOf(const std::string& text)
{
    std::uint32_t days = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if (!isNumber || days == 0 || days > longestValidityDays) {
        throw Refusal(BadCommand, "not a number of days");
    }
    return days;
}

} // namespace

ServerStore& Service::server()
{
    if (!m_server) {
        throw Refusal(NoSuchTarget, "the service has no server store");
    }
    return *m_server;
}

std::string Service::createCsr(const Commands& command)
{
    for (const std::string& argument : command.arguments) {
        if (argument != compliantArgument) {
            throw Refusal(BadCommand, "an unknown wish for a request");
        }
    }
    server().createRequest(!command.arguments.empty());
    return {};
}

std::string Service::createCertificate(const Commands& command)
{
    const std::vector<std::string>& arguments = command.arguments;
    if (arguments[0] != "self" || (arguments[2] != "yes" && arguments[2] != "no")) {
        throw Refusal(BadCommand, "createcrt takes: self DAYS, and whether to replace (yes, no)");
    }
    const std::uint32_t days = daysOf(arguments[1]);
    if (server().hasActive() && arguments[2] == "no") {
        throw Refusal(ActionFailed, "there is a certificate in use");
    }
    generateSelfSigned(days);
    return server().active();
}

void Service::generateSelfSigned(std::uint32_t days)
{
    if (currentTime() < ostrel::DaemonConfiguration::getMinDateForGeneratingCert()) {
        throw Refusal(ActionFailed, "the clock is before minDateForGeneratingCert");
    }
    if (days > longestValidityDays) {
        throw Refusal(BadConfiguration, "selfSignedValidity is more than a hundred years");
    }
    server().generateSelfSigned(days);
    logEvent("{}: self-signed certificate {}", m_name, server().active());
}

std::string Service::applyCertificate(const Commands& command)
{
    ServerStore& store = server();
    store.requestText();
    store.apply(importedText(command.arguments[0]));
    return store.active();
}

std::string Service::revokeServer(const Commands& /*command*/)
{
    const std::string id = server().active();
    server().revoke();
    return id;
}

std::string Service::getCsr(const Commands& /*command*/)
{
    return server().requestText();
}

std::string Service::getCsrInfo(const Commands& /*command*/)
{
    return recordText(SigningRequest(server().requestText()).record());
}

std::string Service::getCsrTimestamp(const Commands& /*command*/)
{
    return std::to_string(server().requestTime());
}

std::string Service::getKey(const Commands& /*command*/)
{
    const ServerStore& store = server();
    const std::optional<uid_t> reader = m_confide();
    if (!reader || !store.mayReadKey(*reader)) {
        throw Refusal(AccessDenied, "the key is for its group, and for the daemon's user");
    }
    return store.keyText();
}

std::string Service::serverInfo(const Commands& command)
{
    if (!command.arguments.empty()) {
        throw Refusal(BadCommand, "info takes no argument for the server");
    }
    return infoText(server().files(), server().active());
}

std::string Service::serverDetails(const Commands& /*command*/)
{
    return server().files().detailsText(server().active());
}

std::string Service::serverCertificate(const Commands& /*command*/)
{
    return server().files().certificateText(server().active());
}

std::string Service::serverCertificateInfo(const Commands& command)
{
    const auto& files = server().files();
    const std::string id = server().active();
    if (!command.arguments.empty() && command.arguments[0] != files.paths.certPath(id)) {
        throw Refusal(NoServerCertificate, "not the certificate in use");
    }
    return recordText(Certificate(files.certificateText(id)).record());
}

std::string Service::serverPath(const Commands& /*command*/)
{
    return server().files().paths.certPath(server().active());
}

std::string Service::serverOverwrittenData(const Commands& /*command*/)
{
    return overridesText(server().files(), server().active());
}

std::string Service::setServerOverwrittenData(const Commands& command)
{
    server().files().setOverride(server().active(), command.arguments[0], command.arguments[1]);
    return {};
}

void Service::checkExpiry()
{
    if (m_server && m_server->isSelfSignedDue(currentTime())) {
        generateSelfSigned(m_configuration->m_selfSignedValidity);
        tellChange("server-apply");
    }
    logStep("{}: looked at the end of the certificate", m_name);
}

void Service::checkNetwork()
{
    if (m_server && m_server->isNetworkOutdated()) {
        generateSelfSigned(m_configuration->m_selfSignedValidity);
        tellChange("server-apply");
    }
    logStep("{}: looked at the addresses of the device", m_name);
}

std::uint32_t Service::expiryCheckOffset() const
{
    return m_configuration->m_certDailyExpiryChkTimeOffsetSecs;
}

} // namespace ostreld
