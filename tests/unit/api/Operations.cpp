#include "unit/api/Operations.h"

#include "support/VirtualSlot.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>
#include <type_traits>

namespace service_case
{

namespace
{

using ostrelApi::ConfiguredField;
using ostrelApi::OstrelService;
using Ids = std::vector<std::string>;

template <class Type>
Type argumentFrom(const std::string& text)
{
    if constexpr (std::is_same_v<Type, Ids>) {
        return {text};
    } else if constexpr (std::is_same_v<Type, ConfiguredField>) {
        return {true};
    } else if constexpr (std::is_same_v<Type, ostrel::TypeTarget>) {
        return ostrel::TargetCA;
    } else if constexpr (std::is_same_v<Type, ostrel::Commands>) {
        ostrel::Commands command;
        command.target = ostrel::TargetConfig;
        command.command = ostrel::CommandStatus;
        return command;
    } else if constexpr (std::is_same_v<Type, char>) {
        return 'x';
    } else {
        return text;
    }
}

std::string textOf(const std::string& text)
{
    return text;
}

std::string textOf(long long number)
{
    return std::to_string(number);
}

std::string textOf(const Ids& ids)
{
    std::string text;
    for (const std::string& id : ids) {
        text += id + '\n';
    }
    return text;
}

std::string textOf(const std::map<std::string, std::string>& pairs)
{
    std::string text;
    for (const auto& [key, value] : pairs) {
        text += key + '=' + value + '\n';
    }
    return text;
}

std::string textOf(ostrelApi::OverwrittenData data)
{
    return textOf(data.getMap());
}

template <class Record>
auto textOf(Record record) -> decltype(record.to(std::declval<std::string&>()), std::string())
{
    std::string text;
    record.to(text);
    return text;
}

/// Calls `function` with arguments of the types `Arguments`, made from `text`.
template <class... Arguments, class Function>
std::string call(Function function, const std::string& text)
{
    std::tuple<std::decay_t<Arguments>...> arguments{
        argumentFrom<std::decay_t<Arguments>>(text)...};
    using Result = decltype(std::apply(function, arguments));
    if constexpr (std::is_void_v<Result>) {
        std::apply(function, arguments);
        return "done";
    } else {
        return textOf(std::apply(function, arguments));
    }
}

template <class Result, class... Arguments>
Operation operation(const char* name, On on, Does does,
                    Result (OstrelService::*member)(Arguments...), Takes takes = Takes::AnId)
{
    const auto caller = [member](OstrelService& service, const std::string& text) {
        return call<Arguments...>(
            [&](auto&... arguments) { return (service.*member)(arguments...); }, text);
    };
    return {name, on, does, takes, support::slotOf(member), caller};
}

template <class Result>
Operation operation(const char* name, On on, Does does, Result (OstrelService::*member)() const)
{
    const auto caller = [member](OstrelService& service, const std::string& /*text*/) {
        return textOf((service.*member)());
    };
    return {name, on, does, Takes::AnId, support::slotOf(member), caller};
}

template <class Result, class... Arguments>
Operation operation(const char* name, On on, Does does, Result (*function)(Arguments...),
                    Takes takes = Takes::AnId)
{
    const auto caller = [function](OstrelService& /*service*/, const std::string& text) {
        return call<Arguments...>(function, text);
    };
    return {name, on, does, takes, support::noSlot, caller};
}

using Service = OstrelService;
using OfOneId = void (Service::*)(const std::string&);
using OfIds = Ids (Service::*)(const Ids&);

/// Programs that are already built rely on this order: a row never moves, and a
/// new virtual operation is appended.
std::vector<Operation> virtualOperations()
{
    return {
        operation("hasServer", On::NoStore, Does::Query, &Service::hasServer),
        operation("hasCA", On::NoStore, Does::Query, &Service::hasCA),
        operation("maxCA", On::NoStore, Does::Query, &Service::maxCA),
        operation("hasTrustedClient", On::NoStore, Does::Query, &Service::hasTrustedClient),
        operation("maxTrustedClient", On::NoStore, Does::Query, &Service::maxTrustedClient),
        operation("getServiceName", On::NoStore, Does::Query, &Service::getServiceName),
        operation("isServiceRunning", On::NoStore, Does::Request, &Service::isServiceRunning),
        operation("reloadService", On::NoStore, Does::Request, &Service::reloadService),
        operation("createServerCsr", On::Server, Does::Request,
                  static_cast<void (Service::*)()>(&Service::createServerCsr)),
        operation(
            "createServerCsr(fields)", On::Server, Does::Request,
            static_cast<void (Service::*)(const ConfiguredField&)>(&Service::createServerCsr)),
        operation("applyServerCertificate", On::Server, Does::Import,
                  &Service::applyServerCertificate, Takes::Pem),
        operation("applyServerCertificateFile", On::Server, Does::Import,
                  &Service::applyServerCertificateFile, Takes::APath),
        operation("revokeServerCertificate", On::Server, Does::Request,
                  &Service::revokeServerCertificate),
        operation("getServerCsr", On::Server, Does::Query, &Service::getServerCsr),
        operation("getServerCsrTimestamp", On::Server, Does::Query,
                  &Service::getServerCsrTimestamp),
        operation("getCsrInfo", On::Server, Does::Request, &Service::getCsrInfo),
        operation("getTrustedClientCertInfo", On::TrustedClient, Does::Request,
                  &Service::getTrustedClientCertInfo),
        operation("getCACertInfo", On::CA, Does::Request, &Service::getCACertInfo),
        operation("getServerCertInfo", On::Server, Does::Request, &Service::getServerCertInfo),
        operation("getServerCertificateDetails", On::Server, Does::Query,
                  &Service::getServerCertificateDetails),
        operation("isServerKeyInTPM", On::Server, Does::Query, &Service::isServerKeyInTPM),
        operation("getServerKey", On::Server, Does::Query, &Service::getServerKey),
        operation("getServerCertificate", On::Server, Does::Query, &Service::getServerCertificate),
        operation("getServerCertificatePath", On::Server, Does::Query,
                  &Service::getServerCertificatePath),
        operation("getServerCertificateOverwrittenData", On::Server, Does::Query,
                  &Service::getServerCertificateOverwrittenData),
        operation("getServerCertificateInfo", On::Server, Does::Query,
                  &Service::getServerCertificateInfo),
        operation("getServerCertificateList", On::Server, Does::Query,
                  &Service::getServerCertificateList),
        operation("addCA", On::CA, Does::Import, &Service::addCA, Takes::Pem),
        operation("addCAFile", On::CA, Does::Import, &Service::addCAFile, Takes::APath),
        operation("revokeCA", On::CA, Does::Request, static_cast<OfOneId>(&Service::revokeCA)),
        operation("revokeCA(ids)", On::CA, Does::Request, static_cast<OfIds>(&Service::revokeCA)),
        operation("getCAList", On::CA, Does::Query, &Service::getCAList),
        operation("getCAListByCN", On::CA, Does::Query, &Service::getCAListByCN, Takes::AName),
        operation("getCA", On::CA, Does::Query, &Service::getCA),
        operation("getCAInfo", On::CA, Does::Query, &Service::getCAInfo),
        operation("getCAOverwrittenData", On::CA, Does::Query, &Service::getCAOverwrittenData),
        operation("getCADirectory", On::CA, Does::Query, &Service::getCADirectory),
        operation("getIdCAPath", On::CA, Does::Query, &Service::getIdCAPath, Takes::APath),
        operation("getIdCA", On::CA, Does::Query, &Service::getIdCA, Takes::Pem),
        operation("addTrustedClient", On::TrustedClient, Does::Import, &Service::addTrustedClient,
                  Takes::Pem),
        operation("addTrustedClientFile", On::TrustedClient, Does::Import,
                  &Service::addTrustedClientFile, Takes::APath),
        operation("revokeTrustedClient", On::TrustedClient, Does::Request,
                  static_cast<OfOneId>(&Service::revokeTrustedClient)),
        operation("revokeTrustedClient(ids)", On::TrustedClient, Does::Request,
                  static_cast<OfIds>(&Service::revokeTrustedClient)),
        operation("getTrustedClientList", On::TrustedClient, Does::Query,
                  &Service::getTrustedClientList),
        operation("getTrustedClientListByCN", On::TrustedClient, Does::Query,
                  &Service::getTrustedClientListByCN, Takes::AName),
        operation("getTrustedClient", On::TrustedClient, Does::Query, &Service::getTrustedClient),
        operation("getTrustedClientInfo", On::TrustedClient, Does::Query,
                  &Service::getTrustedClientInfo),
        operation("getTrustedClientOverwrittenData", On::TrustedClient, Does::Query,
                  &Service::getTrustedClientOverwrittenData),
        operation("getTrustedClientDetails", On::TrustedClient, Does::Query,
                  &Service::getTrustedClientDetails),
        operation("getTrustedClientDirectory", On::TrustedClient, Does::Query,
                  &Service::getTrustedClientDirectory),
        operation("getIdTrustedClient", On::TrustedClient, Does::Query,
                  &Service::getIdTrustedClient, Takes::Pem),
        operation("getIdTrustedClientPath", On::TrustedClient, Does::Query,
                  &Service::getIdTrustedClientPath, Takes::APath),
    };
}

std::vector<Operation> otherOperations()
{
    return {
        operation("getServiceList", On::NoStore, Does::Query, &Service::getServiceList),
        operation("getHealthStatus", On::NoStore, Does::Query, &Service::getHealthStatus),
        operation("getOperatingStatus", On::NoStore, Does::Query, &Service::getOperatingStatus),
        operation("sendNotification", On::NoStore, Does::Notification, &Service::sendNotification),
        operation("notifyNetwork", On::NoStore, Does::Notification, &Service::notifyNetwork),
        operation("notifyTime", On::NoStore, Does::Notification, &Service::notifyTime),
        operation("getCADetails", On::CA, Does::Query, &Service::getCADetails),
        operation("getServerActiveCertificateId", On::Server, Does::Query,
                  &Service::getServerActiveCertificateId),
        operation("getCertificate", On::NoStore, Does::Query, &Service::getCertificate,
                  Takes::APath),
        operation("getList", On::NoStore, Does::Query, &Service::getList, Takes::APath),
        operation("getListByCN", On::NoStore, Does::Query, &Service::getListByCN, Takes::APath),
        operation("addCertificate", On::NoStore, Does::Import, &Service::addCertificate,
                  Takes::Pem),
        operation("addCertificateFile", On::NoStore, Does::Import, &Service::addCertificateFile,
                  Takes::APath),
        operation("importCertificate", On::CA, Does::Request, &Service::importCertificate,
                  Takes::Pem),
        operation("getCertificateDetails", On::NoStore, Does::Query,
                  &Service::getCertificateDetails, Takes::APath),
        operation("sendCommandToServer", On::NoStore, Does::Request, &Service::sendCommandToServer),
        operation("getLockPath", On::NoStore, Does::Query, &Service::getLockPath),
    };
}

std::vector<Operation> allOperations()
{
    std::vector<Operation> all = virtualOperations();
    const std::vector<Operation> others = otherOperations();
    all.insert(all.end(), others.begin(), others.end());
    return all;
}

} // namespace

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> all = allOperations();
    return all;
}

std::vector<Operation> operationsThat(bool (*isWanted)(const Operation&))
{
    std::vector<Operation> wanted;
    std::copy_if(operations().begin(), operations().end(), std::back_inserter(wanted), isWanted);
    return wanted;
}

} // namespace service_case
