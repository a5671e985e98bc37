#include "commands/Stores.h"

#include "commands/Groups.h"

#include <algorithm>
#include <utility>

namespace ostreld
{

Service::Stores::Stores(const std::string& service, const Stores* former)
    : configuration(configurationOf(service)), group(managementGroupOf(*configuration)),
      m_former(former)
{
    for (const StoreRow& row : storeRows) {
        if ((*configuration).*row.isOn) {
            externals.emplace_back(row, *configuration, group);
        }
    }
    if (configuration->m_server) {
        server.emplace(*configuration, group);
    }
}

bool Service::Stores::rebuildSome()
{
    constexpr std::size_t steps = 16;
    if (m_rebuilt == externals.size()) {
        if (server) {
            server->rebuild();
        }
        return false;
    }
    CertificateStore& store = externals[m_rebuilt];
    if (!std::exchange(m_isBegun, true)) {
        store.beginRebuild(m_former != nullptr ? m_former->find(store.row().target) : nullptr);
    }
    if (!store.rebuildSome(steps)) {
        ++m_rebuilt;
        m_isBegun = false;
    }
    return true;
}

bool Service::Stores::retryRemovals() noexcept
{
    bool isNoneLeft = !server || server->retryRemovals();
    for (CertificateStore& store : externals) {
        isNoneLeft = store.retryRemovals() && isNoneLeft;
    }
    return isNoneLeft;
}

const CertificateStore* Service::Stores::find(ostrel::TypeTarget target) const
{
    const auto found =
        std::find_if(externals.begin(), externals.end(),
                     [target](const auto& store) { return store.row().target == target; });
    return found != externals.end() ? &*found : nullptr;
}

CertificateStore& Service::Stores::external(ostrel::TypeTarget target)
{
    if (find(target) == nullptr) {
        throw Refusal(NoSuchTarget, "the service has no such store");
    }
    return const_cast<CertificateStore&>(*find(target));
}

ServerStore& Service::Stores::own()
{
    if (!server) {
        throw Refusal(NoSuchTarget, "the service has no server store");
    }
    return *server;
}

} // namespace ostreld
