#pragma once

#include "store/CertificateStore.h"
#include "store/ServerStore.h"

#include <ostrel/Commands.h>
#include <ostrel/ServiceConfiguration.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostreld
{

/// One service of the device: its configuration, its stores, and the answer to
/// each command that reaches it. One thread at a time.
class Service
{
public:
    /// Told of each change, once it is made: the service's callback script
    /// (empty when it has none), its name, and the event.
    using OnChange = std::function<void(const std::string& script, const std::string& service,
                                        const std::string& event)>;

    /// Reads the configuration and makes the directories; throws
    /// std::runtime_error, or Refusal where the configuration is at fault.
    Service(const std::string& name, OnChange onChange);

    /// How often the configuration has been read.
    unsigned int readings() const { return m_readings; }

    /// Makes the reply one for a single user, and returns who that is; nothing
    /// where that cannot be done.
    using Confide = std::function<std::optional<uid_t>()>;

    /// The reply to a message: return code, one blank, payload. A key is only in
    /// one that `confide` was called for.
    std::string answer(const std::string& message, const Confide& confide);

    /// Reads the configuration again and rebuilds the stores. After a failure
    /// everything is as it was.
    void reload();

    /// Makes a self-signed certificate where the service's configuration asks
    /// for one and it is time, or where the device's addresses changed.
    void checkExpiry();
    void checkNetwork();

    /// Seconds after midnight UTC at which checkExpiry() is to be called.
    std::uint32_t expiryCheckOffset() const;

    const std::string& name() const { return m_name; }
    /// The directory of the service's pipes, and the group that may call.
    const std::string& pipeDirectory() const { return m_pipeDirectory; }
    gid_t group() const { return m_group; }

private:
    struct Operation;
    static const Operation operations[];

    void makeDirectories(gid_t group) const;
    void removeLeftImports() const;
    std::string carryOut(const ostrel::Commands& command);
    const Operation& operationOf(const ostrel::Commands& command) const;
    CertificateStore& storeOf(ostrel::TypeTarget target);
    CertificateStore& storeWith(const ostrel::Commands& command);
    ServerStore& server();
    std::string importedText(const std::string& path) const;
    void generateSelfSigned(std::uint32_t days);
    void tellChange(const std::string& event) const;

    std::string status(const ostrel::Commands& command);
    std::string reloadCommand(const ostrel::Commands& command);
    std::string help(const ostrel::Commands& command);
    std::string add(const ostrel::Commands& command);
    std::string revoke(const ostrel::Commands& command);
    std::string list(const ostrel::Commands& command);
    std::string listByCN(const ostrel::Commands& command);
    std::string info(const ostrel::Commands& command);
    std::string details(const ostrel::Commands& command);
    std::string getCertificate(const ostrel::Commands& command);
    std::string getCertificateInfo(const ostrel::Commands& command);
    std::string path(const ostrel::Commands& command);
    std::string getOverwrittenData(const ostrel::Commands& command);
    std::string setOverwrittenData(const ostrel::Commands& command);

    std::string createCsr(const ostrel::Commands& command);
    std::string createCertificate(const ostrel::Commands& command);
    std::string applyCertificate(const ostrel::Commands& command);
    std::string revokeServer(const ostrel::Commands& command);
    std::string getCsr(const ostrel::Commands& command);
    std::string getCsrInfo(const ostrel::Commands& command);
    std::string getCsrTimestamp(const ostrel::Commands& command);
    std::string getKey(const ostrel::Commands& command);
    std::string serverInfo(const ostrel::Commands& command);
    std::string serverDetails(const ostrel::Commands& command);
    std::string serverCertificate(const ostrel::Commands& command);
    std::string serverCertificateInfo(const ostrel::Commands& command);
    std::string serverPath(const ostrel::Commands& command);
    std::string serverOverwrittenData(const ostrel::Commands& command);
    std::string setServerOverwrittenData(const ostrel::Commands& command);

    const std::string m_name;
    const OnChange m_onChange;
    std::unique_ptr<ostrel::ServiceConfiguration> m_configuration;
    unsigned int m_readings = 0;
    gid_t m_group = 0;
    std::string m_pipeDirectory;
    std::vector<CertificateStore> m_stores;
    std::optional<ServerStore> m_server;
    // Of the message that is answered.
    Confide m_confide;
};

} // namespace ostreld
