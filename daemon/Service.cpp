#include "Service.h"

#include "Log.h"

#include <ostrel/CertificateInfo.h>
#include <ostrel/DaemonConfiguration.h>
#include <ostrel/Tools.h>
#include <ostrelApi/OstrelApiException.h>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace ostreld
{

using ostrel::Commands;

namespace
{

// Clients make files of their own here; the sticky bit keeps the daemon's from them.
constexpr mode_t pipeDirectoryMode = 01730;
constexpr mode_t storeDirectoryMode = 0751;
constexpr std::size_t largestImport = 1 << 20;

constexpr unsigned int only(ostrel::TypeTarget target)
{
    return 1U << target;
}

constexpr unsigned int external = only(ostrel::TargetCA) | only(ostrel::TargetClient);
constexpr unsigned int config = only(ostrel::TargetConfig);
constexpr unsigned int anyTarget = ~0U;

std::string replyOf(ReturnCode code, const std::string& payload)
{
    return std::to_string(code) + ' ' + payload;
}

std::string joined(const std::vector<std::string>& words)
{
    return fmt::format("{}", fmt::join(words, " "));
}

// Once a message is told from its separators, a control character in it could
// only forge a line: of the log, of the library's trace or of a store's file.
bool isPlain(const std::string& message)
{
    return std::none_of(message.begin(), message.end(),
                        [](char c) { return c != '\t' && isControlCharacter(c); });
}

Commands parsed(const std::string& message)
{
    if (!isPlain(message)) {
        throw Refusal(BadCommand, "control characters in the message");
    }
    try {
        return Commands(message);
    } catch (const std::runtime_error& caught) {
        throw Refusal(BadCommand, caught.what());
    }
}

std::unique_ptr<ostrel::ServiceConfiguration> configurationOf(const std::string& service)
{
    try {
        return std::make_unique<ostrel::ServiceConfiguration>(service);
    } catch (const std::runtime_error& caught) {
        throw Refusal(BadConfiguration, caught.what());
    }
}

gid_t groupOf(const ostrel::ServiceConfiguration& configuration)
{
    const std::string& name = configuration.m_managmentGroup;
    if (!ostrel::Tools::isGroupExist(name)) {
        throw Refusal(BadConfiguration, "the managment group '" + name + "' does not exist");
    }
    return ostrel::Tools::getGroupId(name);
}

std::vector<CertificateStore> rebuiltStores(const ostrel::ServiceConfiguration& configuration,
                                            gid_t group)
{
    std::vector<CertificateStore> stores;
    for (const StoreRow& row : storeRows) {
        if (configuration.*row.isOn) {
            stores.emplace_back(row, configuration, group);
            stores.back().rebuild();
        }
    }
    return stores;
}

} // namespace

/// One command: its keyword, the targets that it serves, and what it does.
struct Service::Operation {
    ostrel::CommandType command;
    unsigned int targets;
    std::string (Service::*work)(const Commands&);
    const char* help;
};

const Service::Operation Service::operations[] = {
    {ostrel::CommandStatus, config, &Service::status, "status"},
    {ostrel::CommandReload, config, &Service::reloadCommand, "reload"},
    {ostrel::CommandHelp, anyTarget, &Service::help, "help"},
    {ostrel::CommandAdd, external, &Service::add, "add FILE"},
    {ostrel::CommandRevoke, external, &Service::revoke, "revoke ID..."},
    {ostrel::CommandList, external, &Service::list, "list"},
    {ostrel::CommandListByCN, external, &Service::listByCN, "listByCN CN"},
    {ostrel::CommandInfo, external, &Service::info, "info ID"},
    {ostrel::CommandDetails, external, &Service::details, "details ID"},
    {ostrel::CommandGetCert, external, &Service::getCertificate, "getcert ID"},
    {ostrel::CommandGetCertInfo, external, &Service::getCertificateInfo, "getcertinfo PATH"},
    {ostrel::CommandPath, external, &Service::path, "path ID"},
    {ostrel::CommandGetOverwrittenData, external, &Service::getOverwrittenData,
     "getOverwrittenData ID"},
    {ostrel::CommandSetOverwrittenData, external, &Service::setOverwrittenData,
     "setOverwrittenData ID KEY VALUE"},
};

Service::Service(const std::string& name)
    : m_name(name),
      m_pipeDirectory(ostrel::DaemonConfiguration::getNamePipesDirectory() + '/' + name)
{
    reload();
}

void Service::reload()
{
    auto configuration = configurationOf(m_name);
    const gid_t group = groupOf(*configuration);
    makeDirectories(group);
    std::vector<CertificateStore> stores = rebuiltStores(*configuration, group);
    m_configuration = std::move(configuration);
    m_group = group;
    m_stores = std::move(stores);
}

void Service::makeDirectories(gid_t group) const
{
    makeDirectory(m_pipeDirectory, {group, pipeDirectoryMode});
    makeDirectory(ostrel::DaemonConfiguration::getOstrelDirectory() + '/' + m_name,
                  {group, storeDirectoryMode});
}

std::string Service::answer(const std::string& message)
{
    try {
        const Commands command = parsed(message);
        const std::string payload = carryOut(command);
        logEvent("{}: {} asks {}: done", m_name, command.user, message.substr(0, 200));
        return replyOf(ActionSuccessful, payload);
    } catch (const Refusal& refusal) {
        logEvent("{}: '{}' refused ({} - {}): {}", m_name, message.substr(0, 200),
                 static_cast<int>(refusal.code()), ostrelApi::globalOstrelMessage(refusal.code()),
                 refusal.what());
        return replyOf(refusal.code(), refusal.what());
    } catch (const std::exception& caught) {
        logEvent("{}: '{}' failed: {}", m_name, message.substr(0, 200), caught.what());
        return replyOf(DaemonError, caught.what());
    }
}

std::string Service::carryOut(const Commands& command)
{
    return (this->*operationOf(command).work)(command);
}

const Service::Operation& Service::operationOf(const Commands& command) const
{
    for (const Operation& operation : operations) {
        if (operation.command == command.command &&
            (operation.targets & only(command.target)) != 0) {
            return operation;
        }
    }
    throw Refusal(BadCommand, "no such command for this target");
}

CertificateStore& Service::storeOf(ostrel::TypeTarget target)
{
    for (CertificateStore& store : m_stores) {
        if (store.row().target == target) {
            return store;
        }
    }
    throw Refusal(NoSuchTarget, "the service has no such store");
}

// The store that a command addresses, which must hold the certificate that its
// first argument names.
CertificateStore& Service::storeWith(const Commands& command)
{
    CertificateStore& store = storeOf(command.target);
    if (command.arguments.empty() || !store.has(command.arguments[0])) {
        throw Refusal(store.row().bad, "no such certificate");
    }
    return store;
}

std::string Service::status(const Commands& /*command*/)
{
    return "running";
}

std::string Service::reloadCommand(const Commands& /*command*/)
{
    reload();
    return {};
}

std::string Service::help(const Commands& command)
{
    std::string text;
    for (const Operation& operation : operations) {
        if ((operation.targets & only(command.target)) != 0) {
            text += operation.help + std::string("\n");
        }
    }
    return text;
}

std::string Service::add(const Commands& command)
{
    CertificateStore& store = storeOf(command.target);
    return store.add(Certificate(importedText(command.arguments[0])));
}

// A file that a client names must lie directly in the service's pipe directory.
std::string Service::importedText(const std::string& path) const
{
    const std::string directory = m_pipeDirectory + '/';
    const std::string name =
        path.compare(0, directory.size(), directory) == 0 ? path.substr(directory.size()) : "";
    if (name.empty() || name.find('/') != std::string::npos) {
        throw Refusal(AccessDenied, "not a file in the service's directory");
    }
    try {
        return readRegularFile(m_pipeDirectory, name, largestImport);
    } catch (const std::exception& caught) {
        throw Refusal(AccessDenied, caught.what());
    }
}

std::string Service::revoke(const Commands& command)
{
    return joined(storeOf(command.target).revoke(command.arguments));
}

std::string Service::list(const Commands& command)
{
    return joined(storeOf(command.target).ids());
}

std::string Service::listByCN(const Commands& command)
{
    return joined(storeOf(command.target).idsByCN(command.arguments[0]));
}

std::string Service::info(const Commands& command)
{
    const CertificateStore& store = storeWith(command);
    std::ostringstream text;
    text << ostrel::CertificateInfo(store.paths().certInfoPath(command.arguments[0]));
    return text.str();
}

std::string Service::details(const Commands& command)
{
    return storeWith(command).detailsText(command.arguments[0]);
}

std::string Service::getCertificate(const Commands& command)
{
    return storeWith(command).certificateText(command.arguments[0]);
}

// The argument is a certificate's path, but the path of a listed one.
std::string Service::getCertificateInfo(const Commands& command)
{
    const CertificateStore& store = storeOf(command.target);
    const std::string asked = command.arguments.empty() ? "" : command.arguments[0];
    for (const std::string& id : store.ids()) {
        if (store.paths().certPath(id) == asked) {
            std::string text;
            Certificate(store.certificateText(id)).record().to(text);
            return text;
        }
    }
    throw Refusal(store.row().bad, "no such certificate");
}

std::string Service::path(const Commands& command)
{
    return storeWith(command).paths().certPath(command.arguments[0]);
}

std::string Service::getOverwrittenData(const Commands& command)
{
    std::string text;
    for (const auto& [key, value] : storeWith(command).overrides(command.arguments[0])) {
        text += fmt::format("{} {}\n", key, value);
    }
    return text;
}

std::string Service::setOverwrittenData(const Commands& command)
{
    CertificateStore& store = storeWith(command);
    try {
        store.setOverride(command.arguments[0], command.arguments[1], command.arguments[2]);
    } catch (const ostrelApi::OstrelApiException& caught) {
        throw Refusal(ActionFailed, caught.what());
    }
    return {};
}

} // namespace ostreld
