#pragma once

#include "CertificateStore.h"
#include "Channel.h"

#include <ostrel/Commands.h>
#include <ostrel/ServiceConfiguration.h>

#include <memory>
#include <string>
#include <vector>

namespace ostreld
{

/// One service of the device: its configuration, its stores, and the answer to
/// each command that reaches it. One thread at a time.
class Service
{
public:
    /// Reads the configuration and makes the directories; throws
    /// std::runtime_error, or Refusal where the configuration is at fault.
    explicit Service(const std::string& name);

    /// The reply to a message: return code, one blank, payload.
    std::string answer(const std::string& message);

    /// Reads the configuration again and rebuilds the stores. After a failure
    /// everything is as it was.
    void reload();

    const std::string& name() const { return m_name; }
    /// The directory of the service's pipes, and the group that may call.
    const std::string& pipeDirectory() const { return m_pipeDirectory; }
    gid_t group() const { return m_group; }

private:
    struct Operation;
    static const Operation operations[];

    void makeDirectories(gid_t group) const;
    std::string carryOut(const ostrel::Commands& command);
    const Operation& operationOf(const ostrel::Commands& command) const;
    CertificateStore& storeOf(ostrel::TypeTarget target);
    CertificateStore& storeWith(const ostrel::Commands& command);
    std::string importedText(const std::string& path) const;

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

    const std::string m_name;
    std::unique_ptr<ostrel::ServiceConfiguration> m_configuration;
    gid_t m_group = 0;
    std::string m_pipeDirectory;
    std::vector<CertificateStore> m_stores;
};

} // namespace ostreld
