// The commands for a service's own certificate.

#include "base/Clock.h"
#include "base/Log.h"
#include "commands/IdentityText.h"
#include "commands/Stores.h"
#include "store/StoreTexts.h"
#include "x509/Identity.h"
#include "x509/Network.h"
#include "x509/RequestProfile.h"
#include "x509/SigningRequest.h"

#include <ostrel/DaemonConfiguration.h>

#include <charconv>
#include <filesystem>

namespace ostreld
{

using ostrel::Commands;
using ostrel::ServiceConfiguration;

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

// Runs the hook first, if there is one: it prints the request configuration.
Result Service::makeIdentity(Make make, Use use)
{
    const ServiceConfiguration& service = *m_stores->configuration;
    if (service.m_cnfHookFile.empty()) {
        return makeKey(configurationFileText(service), std::move(make), std::move(use));
    }
    const std::filesystem::path scripts = ostrel::DaemonConfiguration::getScriptsDirectory();
    auto work = std::make_unique<Work>();
    work->program = {(scripts / service.m_cnfHookFile).string(), m_name};
    work->then = [this, make = std::move(make), use = std::move(use)](const ChildEnd& end) {
        if (!end.isFine()) {
            throw Refusal(ErrorDuringExternalCommand, end.failure);
        }
        return makeKey(end.output, make, use);
    };
    return work;
}

// The child also looks up the device's names, because a resolver may not answer.
Result Service::makeKey(const std::string& configurationText, Make make, Use use)
{
    auto work = std::make_unique<Work>();
    work->function = [stores = m_stores, configurationText, make = std::move(make)] {
        return packed([&] { return make(*stores->configuration, configurationText); });
    };
    work->then = [use = std::move(use)](ChildEnd end) {
        if (!end.isFine()) {
            throw Refusal(ErrorDuringKeyGeneration, end.failure);
        }
        return Result(use(unpacked(end.output)));
    };
    return work;
}

Result Service::createCsr(const Commands& command)
{
    for (const std::string& argument : command.arguments) {
        if (argument != compliantArgument) {
            throw Refusal(BadCommand, "unknown createcsr option");
        }
    }
    m_stores->own();
    return makeIdentity(
        [isCompliant = !command.arguments.empty()](const ServiceConfiguration& service,
                                                   const std::string& text) {
            return makeRequest(service, text, isCompliant);
        },
        [this](const Identity& identity) {
            m_stores->own().putRequest(identity.key.view(), identity.pem, identity.network);
            return std::string();
        });
}

Result Service::createCertificate(const Commands& command)
{
    const std::vector<std::string>& arguments = command.arguments;
    if (arguments[0] != "self" || (arguments[2] != "yes" && arguments[2] != "no")) {
        throw Refusal(BadCommand, "createcrt takes: self DAYS, and whether to replace (yes, no)");
    }
    const std::uint32_t days = daysOf(arguments[1]);
    if (m_stores->own().hasActive() && arguments[2] == "no") {
        throw Refusal(ActionFailed, "there is a certificate in use");
    }
    return makeSelfSigned(days);
}

Result Service::makeSelfSigned(std::uint32_t days)
{
    if (currentTime() < ostrel::DaemonConfiguration::getMinDateForGeneratingCert()) {
        throw Refusal(ActionFailed, "the clock is before minDateForGeneratingCert");
    }
    if (days > longestValidityDays) {
        throw Refusal(BadConfiguration, "selfSignedValidity is more than a hundred years");
    }
    return makeIdentity(
        [days](const ServiceConfiguration& service, const std::string& text) {
            return ostreld::makeSelfSigned(service, text, days);
        },
        [this](const Identity& identity) {
            ServerStore& store = m_stores->own();
            store.putInUse(Certificate(identity.pem), identity.key.view(), identity.network);
            logEvent("{}: self-signed certificate {}", m_name, store.active());
            return store.active();
        });
}

Result Service::applyCertificate(const Commands& command)
{
    ServerStore& store = m_stores->own();
    store.requestText();
    store.apply(importedText(command.arguments[0]));
    return store.active();
}

Result Service::revokeServer(const Commands& /*command*/)
{
    const std::string id = m_stores->own().active();
    m_stores->own().revoke();
    return id;
}

Result Service::getCsr(const Commands& /*command*/)
{
    return m_stores->own().requestText();
}

Result Service::getCsrInfo(const Commands& /*command*/)
{
    return recordText(SigningRequest(m_stores->own().requestText()).record());
}

Result Service::getCsrTimestamp(const Commands& /*command*/)
{
    return std::to_string(m_stores->own().requestTime());
}

Result Service::getKey(const Commands& /*command*/)
{
    const ServerStore& store = m_stores->own();
    if (!store.isKeyForCallers()) {
        throw Refusal(AccessDenied, "the callers' group is not the key group");
    }
    // The owner of the result wipes it.
    return std::string(store.keyText().view());
}

Result Service::serverInfo(const Commands& command)
{
    if (!command.arguments.empty()) {
        throw Refusal(BadCommand, "info takes no argument for the server");
    }
    const ServerStore& store = m_stores->own();
    return infoText(store.files(), store.active());
}

Result Service::serverDetails(const Commands& /*command*/)
{
    const ServerStore& store = m_stores->own();
    return store.files().detailsText(store.active());
}

Result Service::serverCertificate(const Commands& /*command*/)
{
    const ServerStore& store = m_stores->own();
    return store.files().certificateText(store.active());
}

Result Service::serverCertificateInfo(const Commands& command)
{
    const ServerStore& store = m_stores->own();
    const std::string id = store.active();
    if (!command.arguments.empty() && command.arguments[0] != store.files().paths.certPath(id)) {
        throw Refusal(NoServerCertificate, "not the certificate in use");
    }
    return recordText(Certificate(store.files().certificateText(id)).record());
}

Result Service::serverPath(const Commands& /*command*/)
{
    const ServerStore& store = m_stores->own();
    return store.files().paths.certPath(store.active());
}

Result Service::serverOverwrittenData(const Commands& /*command*/)
{
    const ServerStore& store = m_stores->own();
    return overridesText(store.files(), store.active());
}

Result Service::setServerOverwrittenData(const Commands& command)
{
    const ServerStore& store = m_stores->own();
    store.files().setOverride(store.active(), command.arguments[0], command.arguments[1]);
    return "";
}

Result Service::checkExpiry()
{
    if (!m_stores->server || !m_stores->server->isSelfSignedDue(currentTime())) {
        return "";
    }
    return makeSelfSigned(m_stores->configuration->m_selfSignedValidity);
}

// A child looks up the device's addresses and name, because a resolver may not answer.
Result Service::checkNetwork()
{
    if (!m_stores->server || !m_stores->server->followsNetwork()) {
        return "";
    }
    const std::string former = m_stores->server->activeNetwork();
    auto work = std::make_unique<Work>();
    work->function = [stores = m_stores, former] {
        return networkText(alternativeNames(*stores->configuration, former));
    };
    work->then = [this, former](const ChildEnd& end) {
        if (!end.isFine()) {
            throw std::runtime_error("the addresses of the device are not known");
        }
        if (end.output == former) {
            return Result("");
        }
        return makeSelfSigned(m_stores->configuration->m_selfSignedValidity);
    };
    return work;
}

} // namespace ostreld
