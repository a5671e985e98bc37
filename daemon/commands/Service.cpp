#include "commands/Service.h"

#include "base/Log.h"
#include "commands/Groups.h"
#include "commands/Stores.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/Tools.h>

#include <algorithm>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ostreld
{

using ostrel::Commands;

namespace
{

constexpr unsigned int only(ostrel::TypeTarget target)
{
    return 1U << target;
}

constexpr unsigned int external = only(ostrel::TargetCA) | only(ostrel::TargetClient);
constexpr unsigned int own = only(ostrel::TargetServer);
constexpr unsigned int config = only(ostrel::TargetConfig);
constexpr unsigned int anyTarget = ~0U;

// A message has no control character but its separators. Another one could only forge a line
// of the log, of the library's trace or of a store's file.
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

} // namespace

/// One command: its number, its targets, its function, its line of "help", and its event for
/// callback scripts.
struct Service::Operation {
    ostrel::CommandType command;
    unsigned int targets;
    Result (Service::*work)(const Commands&);
    const char* help;
    const char* event = nullptr;
};

const Service::Operation Service::operations[] = {
    {ostrel::CommandStatus, config, &Service::status, "status"},
    {ostrel::CommandReload, config, &Service::reload, "reload"},
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
    // Without a name, its directories would be those of all services.
    if (name.empty()) {
        throw Refusal(BadServiceId, "a service without a name");
    }
}

Service::Request Service::parse(const std::string& message)
{
    Commands command = parsed(message);
    for (const Operation& operation : operations) {
        if (operation.command == command.command &&
            (operation.targets & only(command.target)) != 0) {
            return {std::move(command), &operation};
        }
    }
    throw Refusal(BadCommand, "no such command for this target");
}

bool Service::isAnsweredMeanwhile(const Request& request)
{
    return request.operation->work == &Service::status || request.operation->work == &Service::help;
}

bool Service::isReload(const Request& request)
{
    return request.operation->work == &Service::reload;
}

Result Service::carryOut(const Request& request)
{
    return (this->*request.operation->work)(request.command);
}

// A revocation that removes nothing is not a change.
std::string Service::tellChange(const Request& request, const std::string& payload) const
{
    const bool isChange = request.operation->work != &Service::revoke || !payload.empty();
    if (request.operation->event == nullptr || !isChange) {
        return {};
    }
    const Commands& command = request.command;
    const bool isOwn = command.target == ostrel::TargetServer;
    const char* const store = isOwn ? "server" : m_stores->external(command.target).row().word;
    const std::string ids = changedIds(request, payload);
    m_onChange(std::string(store) + '-' + request.operation->event, ids);
    return ids;
}

// The reply to a change is the ids that it concerns, except for an override.
std::string Service::changedIds(const Request& request, const std::string& payload) const
{
    if (request.operation->work == &Service::setOverwrittenData) {
        return request.command.arguments[0];
    }
    return request.operation->work == &Service::setServerOverwrittenData ? m_stores->own().active()
                                                                         : payload;
}

Result Service::rebuild()
{
    const auto stores = std::make_shared<Stores>(m_name, m_stores.get());
    // Throws for an invalid configuration before anything is changed.
    makeDirectories(stores->group);
    if (!m_stores) {
        removeLeftImports();
    }
    auto work = std::make_unique<Work>();
    work->slice = [stores] { return stores->rebuildSome(); };
    work->then = [this, stores](const ChildEnd&) {
        m_stores = stores;
        ++m_readings;
        return Result("");
    };
    return work;
}

// Removes what killed clients left. The kernel grants the lease only if no client has the
// lock file open, which means that none is in a call. The lease makes new clients wait.
void Service::removeLeftImports() const
{
    const auto lock = ostrel::Descriptor::open(m_pipeDirectory + '/' + m_name + ".lock",
                                               O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (lock.isOpen() && ::fcntl(lock.get(), F_SETLEASE, F_RDLCK) != 0) {
        return;
    }
    for (const auto& entry : std::filesystem::directory_iterator(m_pipeDirectory)) {
        const std::string path = entry.path().string();
        // unlink() fails for a directory, which stays.
        if (entry.path().extension() == ".crt" && ::unlink(path.c_str()) == 0) {
            logEvent("{}: removing what a killed client left", path);
        }
    }
}

void Service::makeDirectories(gid_t group) const
{
    // The exchange opens the directory to the group when the daemon's files are in it.
    makeDirectory(m_pipeDirectory, pipeDirectoryMode, Durability::Volatile);
    const std::string stores = ostrel::DaemonConfiguration::getOstrelDirectory() + '/' + m_name;
    makeDirectory(stores, storeDirectoryMode, Durability::Persistent);
    setDirectoryAccess(stores, {group, storeDirectoryMode});
    const std::string lock = stores + storeLockName;
    setAccess(openOwn(lock, S_IFREG, O_RDONLY), lock, {group, S_IRUSR | S_IWUSR});
}

gid_t Service::group() const
{
    return m_stores->group;
}

bool Service::retryRemovals()
{
    return !m_stores || m_stores->retryRemovals();
}

std::string Service::callbackScript() const
{
    return m_stores->configuration->m_callbackScript;
}

std::uint32_t Service::expiryCheckOffset() const
{
    return m_stores->configuration->m_certDailyExpiryChkTimeOffsetSecs;
}

Result Service::status(const Commands& /*command*/)
{
    return "running";
}

Result Service::reload(const Commands& /*command*/)
{
    return rebuild();
}

Result Service::help(const Commands& command)
{
    std::string text;
    for (const Operation& operation : operations) {
        if ((operation.targets & only(command.target)) != 0) {
            text += operation.help + std::string("\n");
        }
    }
    return text;
}

} // namespace ostreld
