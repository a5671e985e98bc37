#include "commands/Service.h"

#include "base/Log.h"
#include "store/StoreTexts.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/Tools.h>
#include <ostrelApi/OstrelApiException.h>

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Commands;

namespace
{

constexpr mode_t storeDirectoryMode = 0751;

constexpr unsigned int only(ostrel::TypeTarget target)
{
    return 1U << target;
}

constexpr unsigned int external = only(ostrel::TargetCA) | only(ostrel::TargetClient);
constexpr unsigned int own = only(ostrel::TargetServer);
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

// A message as one line for the log.
std::string forLog(std::string message)
{
    constexpr std::size_t longest = 200;
    std::replace(message.begin(), message.end(), '\t', ' ');
    return message.substr(0, longest);
}

std::vector<CertificateStore> storesOf(const ostrel::ServiceConfiguration& configuration,
                                       gid_t group)
{
    std::vector<CertificateStore> stores;
    for (const StoreRow& row : storeRows) {
        if (configuration.*row.isOn) {
            stores.emplace_back(row, configuration, group);
        }
    }
    return stores;
}

} // namespace

/// One command: its value, the targets that it serves, what it does, how it is
/// written, and the event that it is for a callback script.
struct Service::Operation {
    ostrel::CommandType command;
    unsigned int targets;
    std::string (Service::*work)(const Commands&);
    const char* help;
    const char* event = nullptr;
};

const Service::Operation Service::operations[] = {
    {ostrel::CommandStatus, config, &Service::status, "status"},
    {ostrel::CommandReload, config, &Service::reloadCommand, "reload"},
    {ostrel::CommandHelp, anyTarget, &Service::help, "help"},
    {ostrel::CommandAdd, external, &Service::add, "add FILE", "add"},
    {ostrel::CommandRevoke, external, &Service::revoke, "revoke ID...", "revoke"},
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
     "setOverwrittenData ID KEY VALUE", "override"},
    {ostrel::CommandCreateCsr, own, &Service::createCsr, "createcsr [CA-CB_compliant]", "request"},
    {ostrel::CommandCreateCrt, own, &Service::createCertificate, "createcrt self DAYS REPLACE",
     "apply"},
    {ostrel::CommandApplyCrt, own, &Service::applyCertificate, "applycrt FILE", "apply"},
    {ostrel::CommandRevoke, own, &Service::revokeServer, "revoke", "revoke"},
    {ostrel::CommandGetCsr, own, &Service::getCsr, "getcsr"},
    {ostrel::CommandGetCsrInfo, own, &Service::getCsrInfo, "getcsrinfo"},
    {ostrel::CommandGetCsrTimestamp, own, &Service::getCsrTimestamp, "getcsrtimestamp"},
    {ostrel::CommandGetKey, own, &Service::getKey, "getkey"},
    {ostrel::CommandInfo, own, &Service::serverInfo, "info"},
    {ostrel::CommandDetails, own, &Service::serverDetails, "details"},
    {ostrel::CommandGetCert, own, &Service::serverCertificate, "getcert"},
    {ostrel::CommandGetCertInfo, own, &Service::serverCertificateInfo, "getcertinfo [PATH]"},
    {ostrel::CommandPath, own, &Service::serverPath, "path"},
    {ostrel::CommandGetOverwrittenData, own, &Service::serverOverwrittenData, "getOverwrittenData"},
    {ostrel::CommandSetOverwrittenData, own, &Service::setServerOverwrittenData,
     "setOverwrittenData KEY VALUE", "override"},
};

Service::Service(const std::string& name, OnChange onChange)
    : m_name(name), m_onChange(std::move(onChange)),
      m_pipeDirectory(ostrel::DaemonConfiguration::getNamePipesDirectory() + '/' + name)
{
    // Its directories would be those of all services.
    if (name.empty()) {
        throw Refusal(BadServiceId, "a service without a name");
    }
    reload();
    removeLeftImports();
}

// What clients that were killed left. The lease is given, and makes others wait,
// while none has the lock file open, and so none is in its call.
void Service::removeLeftImports() const
{
    const auto lock = ostrel::Descriptor::open(m_pipeDirectory + '/' + m_name + ".lock",
                                               O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (lock.isOpen() && ::fcntl(lock.get(), F_SETLEASE, F_RDLCK) != 0) {
        return;
    }
    for (const auto& entry : std::filesystem::directory_iterator(m_pipeDirectory)) {
        const std::string path = entry.path().string();
        if (entry.path().extension() == ".crt" && !entry.is_directory()) {
            logEvent("{}: removing what a killed client left", path);
            ::unlink(path.c_str());
        }
    }
}

void Service::reload()
{
    auto configuration = configurationOf(m_name);
    const gid_t group = groupOf(*configuration);
    std::vector<CertificateStore> stores = storesOf(*configuration, group);
    std::optional<ServerStore> serverStore;
    if (configuration->m_server) {
        serverStore.emplace(*configuration, group);
    }
    // Everything that the configuration names is found before anything is changed.
    makeDirectories(group);
    for (CertificateStore& store : stores) {
        store.rebuild();
    }
    if (serverStore) {
        serverStore->rebuild();
    }
    m_configuration = std::move(configuration);
    ++m_readings;
    m_group = group;
    m_stores.swap(stores);
    m_server.reset();
    if (serverStore) {
        m_server.emplace(std::move(*serverStore));
    }
}

void Service::makeDirectories(gid_t group) const
{
    // The channel opens it to the group, when everything of the daemon's is in it.
    makeDirectory(m_pipeDirectory, pipeDirectoryMode, Durability::Volatile);
    const std::string stores = ostrel::DaemonConfiguration::getOstrelDirectory() + '/' + m_name;
    makeDirectory(stores, storeDirectoryMode, Durability::Lasting);
    setDirectoryAccess(stores, {group, storeDirectoryMode});
}

std::string Service::answer(const std::string& message, const Confide& confide)
{
    m_confide = confide;
    try {
        std::string payload = carryOut(parsed(message));
        // It may be a key.
        const Wipe wipe(payload);
        logEvent("{}: {}: done", m_name, forLog(message));
        return replyOf(ActionSuccessful, payload);
    } catch (const Refusal& refusal) {
        logEvent("{}: {}: refused ({} - {}): {}", m_name, forLog(message),
                 static_cast<int>(refusal.code()), ostrelApi::globalOstrelMessage(refusal.code()),
                 refusal.what());
        return replyOf(refusal.code(), refusal.what());
    } catch (const std::exception& caught) {
        logEvent("{}: {}: failed: {}", m_name, forLog(message), caught.what());
        return replyOf(DaemonError, caught.what());
    }
}

std::string Service::carryOut(const Commands& command)
{
    const Operation& operation = operationOf(command);
    std::string payload = (this->*operation.work)(command);
    // Revoking nothing changes nothing.
    const bool isChange = operation.work != &Service::revoke || !payload.empty();
    if (operation.event != nullptr && isChange) {
        const bool isOwn = command.target == ostrel::TargetServer;
        tellChange((isOwn ? "server" : storeOf(command.target).row().word) + std::string("-") +
                   operation.event);
    }
    return payload;
}

void Service::tellChange(const std::string& event) const
{
    m_onChange(m_configuration->m_callbackScript, m_name, event);
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
        return readRegularFile(m_pipeDirectory, name, largestClientFile);
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
    return infoText(storeWith(command).files(), command.arguments[0]);
}

std::string Service::details(const Commands& command)
{
    return storeWith(command).files().detailsText(command.arguments[0]);
}

std::string Service::getCertificate(const Commands& command)
{
    return storeWith(command).files().certificateText(command.arguments[0]);
}

// The argument is a certificate's path, but the path of a listed one.
std::string Service::getCertificateInfo(const Commands& command)
{
    const CertificateStore& store = storeOf(command.target);
    const std::string asked = command.arguments.empty() ? "" : command.arguments[0];
    for (const std::string& id : store.ids()) {
        if (store.files().paths.certPath(id) == asked) {
            return recordText(Certificate(store.files().certificateText(id)).record());
        }
    }
    throw Refusal(store.row().bad, "no such certificate");
}

std::string Service::path(const Commands& command)
{
    return storeWith(command).files().paths.certPath(command.arguments[0]);
}

std::string Service::getOverwrittenData(const Commands& command)
{
    return overridesText(storeWith(command).files(), command.arguments[0]);
}

std::string Service::setOverwrittenData(const Commands& command)
{
    const CertificateStore& store = storeWith(command);
    store.files().setOverride(command.arguments[0], command.arguments[1], command.arguments[2]);
    return {};
}

} // namespace ostreld
