#pragma once

#include "commands/Work.h"

#include <ostrel/Commands.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace ostrel
{
class ServiceConfiguration;
}

namespace ostreld
{

class CertificateStore;
struct Identity;

/// The mode of the directory of a service's stores.
constexpr mode_t storeDirectoryMode = 0751;

/// The file in it that the service's process locks. Callers cannot open it, because its lock
/// would keep the service from starting.
constexpr char storeLockName[] = "/.lock";

/// One service of the device: its configuration, its stores, and the commands on them. It
/// executes one command or task at a time.
class Service
{
public:
    /// Called after each change with its event and the ids that it concerns.
    using OnChange = std::function<void(const std::string& event, const std::string& ids)>;

    /// Reads nothing before the first rebuild().
    Service(const std::string& name, OnChange onChange);

    /// One row of the table of commands.
    struct Operation;

    /// A message that names a command of the table.
    struct Request {
        ostrel::Commands command;
        const Operation* operation;
    };

    /// Throws Refusal.
    static Request parse(const std::string& message);

    /// Whether a command needs no store, so that it is answered during slow work.
    static bool isAnsweredMeanwhile(const Request& request);

    /// Whether it reads the configuration again.
    static bool isReload(const Request& request);

    /// Throws Refusal, and std::runtime_error for a failure inside the daemon.
    Result carryOut(const Request& request);

    /// Call it with the payload when all work of a command is done. Returns the ids that a
    /// change concerns.
    std::string tellChange(const Request& request, const std::string& payload) const;

    /// Reads the configuration again and updates the stores, in slices. The former stores
    /// serve until the end, and stay after a failure.
    Result rebuild();

    /// Makes a self-signed certificate if the configuration requests one and it is due, or if
    /// the device's addresses changed. The payload is its id, or empty.
    Result checkExpiry();
    Result checkNetwork();

    /// The time of the daily checkExpiry(), in seconds after midnight UTC.
    std::uint32_t expiryCheckOffset() const;

    /// Tries again to remove what could not be removed. Returns whether nothing is left.
    bool retryRemovals();

    /// The path of the callback script; empty if the service has none.
    std::string callbackScript() const;

    /// The directory of the service's pipes, and the group that may call.
    const std::string& pipeDirectory() const { return m_pipeDirectory; }
    gid_t group() const;

    /// How often the configuration has been read.
    unsigned int readings() const { return m_readings; }

private:
    static const Operation operations[];

    /// Configuration and stores as one rebuild() read them.
    struct Stores;

    void makeDirectories(gid_t group) const;
    void removeLeftImports() const;
    CertificateStore& storeWith(const ostrel::Commands& command);
    std::string importedText(const std::string& path) const;
    std::string changedIds(const Request& request, const std::string& payload) const;

    using Make = std::function<Identity(const ostrel::ServiceConfiguration&, const std::string&)>;
    using Use = std::function<std::string(const Identity&)>;
    Result makeIdentity(Make make, Use use);
    Result makeKey(const std::string& configurationText, Make make, Use use);
    Result makeSelfSigned(std::uint32_t days);

    Result status(const ostrel::Commands& command);
    Result reload(const ostrel::Commands& command);
    Result help(const ostrel::Commands& command);
    Result add(const ostrel::Commands& command);
    Result revoke(const ostrel::Commands& command);
    Result list(const ostrel::Commands& command);
    Result listByCN(const ostrel::Commands& command);
    Result info(const ostrel::Commands& command);
    Result details(const ostrel::Commands& command);
    Result getCertificate(const ostrel::Commands& command);
    Result getCertificateInfo(const ostrel::Commands& command);
    Result path(const ostrel::Commands& command);
    Result getOverwrittenData(const ostrel::Commands& command);
    Result setOverwrittenData(const ostrel::Commands& command);

    Result createCsr(const ostrel::Commands& command);
    Result createCertificate(const ostrel::Commands& command);
    Result applyCertificate(const ostrel::Commands& command);
    Result revokeServer(const ostrel::Commands& command);
    Result getCsr(const ostrel::Commands& command);
    Result getCsrInfo(const ostrel::Commands& command);
    Result getCsrTimestamp(const ostrel::Commands& command);
    Result getKey(const ostrel::Commands& command);
    Result serverInfo(const ostrel::Commands& command);
    Result serverDetails(const ostrel::Commands& command);
    Result serverCertificate(const ostrel::Commands& command);
    Result serverCertificateInfo(const ostrel::Commands& command);
    Result serverPath(const ostrel::Commands& command);
    Result serverOverwrittenData(const ostrel::Commands& command);
    Result setServerOverwrittenData(const ostrel::Commands& command);

    const std::string m_name;
    const OnChange m_onChange;
    const std::string m_pipeDirectory;
    // Shared, because work in progress needs the stores that it began with.
    std::shared_ptr<Stores> m_stores;
    unsigned int m_readings = 0;
};

} // namespace ostreld
