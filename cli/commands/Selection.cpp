#include "commands/Selection.h"

#include "commands/Ids.h"
#include "commands/OpenService.h"
#include "commands/StoreReader.h"

namespace ostrelctl
{

Selection::Selection(Context& context, const Store& store)
    : m_service(openService(context.serviceName()))
{
    context.path = listPathOf(context.serviceName(), store);
    const Ids all = listedIds(m_service, context.serviceName(), store);
    context.path.clear();
    for (const std::string& given : context.invocation.all("ID")) {
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
