#include "commands/Selection.h"

#include "commands/Ids.h"
#include "commands/OpenService.h"
#include "commands/StoreReader.h"

namespace ostrelctl
{

Selection::Selection(const Invocation& invocation, const Store& store)
    : m_service(openService(invocation.service()))
{
    const Ids all = listedIds(m_service, invocation.service(), store);
    for (const std::string& given : invocation.all("ID")) {
        m_ids.push_back(idNamed(given, all));
    }
    if (store.target == ostrel::TargetServer && m_ids.empty()) {
        m_ids = {ownIdNamed("", all)};
    }
}

Ids listedIds(OstrelService& service, const std::string& name, const Store& store)
{
    return store.target == ostrel::TargetServer ? idsOf(service, name, store)
                                                : (service.*store.list)();
}

} // namespace ostrelctl
