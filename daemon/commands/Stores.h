#pragma once

#include "base/Refusal.h"
#include "commands/Service.h"
#include "store/CertificateStore.h"
#include "store/ServerStore.h"

#include <ostrel/Commands.h>
#include <ostrel/ServiceConfiguration.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ostreld
{

/// The stores of a service, as its configuration describes them.
struct Service::Stores {
    /// Reads the configuration; throws Refusal if it is invalid. A rebuild reuses what
    /// `former` knows about the files; `former` must outlive the rebuild.
    Stores(const std::string& service, const Stores* former);

    /// Rebuilds a part. Returns whether work is left.
    bool rebuildSome();

    /// Like retryRemovals() of each store.
    bool retryRemovals() noexcept;

    /// These throw Refusal if the service has no such store.
    CertificateStore& external(ostrel::TypeTarget target);
    ServerStore& own();

    const std::unique_ptr<ostrel::ServiceConfiguration> configuration;
    const gid_t group;
    std::vector<CertificateStore> externals;
    std::optional<ServerStore> server;

private:
    const CertificateStore* find(ostrel::TypeTarget target) const;

    const Stores* m_former;
    std::size_t m_rebuilt = 0;
    bool m_isBegun = false;
};

} // namespace ostreld
