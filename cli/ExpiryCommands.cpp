#include "Context.h"
#include "ReturnCodes.h"
#include "Survey.h"
#include "Work.h"

#include <algorithm>
#include <limits>

namespace ostrelctl
{

namespace
{

std::vector<std::string> servicesOf(const Context& context)
{
    auto names = context.invocation.all("SERVICE");
    if (names.empty()) {
        names = OstrelService::getServiceList();
        std::sort(names.begin(), names.end());
    }
    return names;
}

Json rowOf(const std::string& service, const Store& store, const Entry& entry)
{
    Json row = {{"service", service}, {"store", store.word}};
    row.update(jsonOf(entry));
    return row;
}

void addRows(Json& rows, OstrelService& service, const std::string& name)
{
    for (const Store* store : stores()) {
        if ((service.*store->isThere)()) {
            for (const Entry& entry : entriesOf(name, *store, idsOf(service, name, *store))) {
                rows.push_back(rowOf(name, *store, entry));
            }
        }
    }
}

// One whose end nobody knows comes first: it is the one to look at.
std::int64_t daysOf(const Json& row)
{
    const Json& days = row.at("daysLeft");
    return days.is_null() ? std::numeric_limits<std::int64_t>::min() : days.get<std::int64_t>();
}

// Due too while the service has no certificate, or none whose end is known.
Json renewalRow(OstrelService& service, const std::string& name, int within)
{
    const auto entries = entriesOf(name, serverStore, idsOf(service, name, serverStore));
    Json row = rowOf(name, serverStore, entries.empty() ? Entry{} : entries.front());
    const Json& days = row.at("daysLeft");
    const bool isDue = days.is_null() || days.get<std::int64_t>() < within;
    row["due"] = isDue;
    return row;
}

bool hasServer(Context& context, const OstrelService& service)
{
    // Of the services that were not named, those without a certificate are passed over.
    if (!service.hasServer() && context.invocation.has("SERVICE")) {
        throw ostrelApi::CallError(ostrelApi::NoSuchTarget, "");
    }
    return service.hasServer();
}

} // namespace

Outcome tellExpiry(Context& context)
{
    Json rows = Json::array();
    for (const std::string& name : servicesOf(context)) {
        OstrelService service = openService(name);
        addRows(rows, service, name);
    }
    if (context.invocation.has("--within")) {
        const int within = context.invocation.number("--within");
        rows.erase(std::remove_if(rows.begin(), rows.end(),
                                  [&](const Json& row) { return daysOf(row) >= within; }),
                   rows.end());
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Json& a, const Json& b) { return daysOf(a) < daysOf(b); });
    return {{{"certificates", rows}}};
}

Outcome checkRenewal(Context& context)
{
    const int within = context.invocation.number("--within");
    Json rows = Json::array();
    bool isDue = false;
    for (const std::string& name : servicesOf(context)) {
        OstrelService service = openService(name);
        if (hasServer(context, service)) {
            rows.push_back(renewalRow(service, name, within));
            isDue = isDue || rows.back().at("due").get<bool>();
        }
    }
    return {{{"within", within}, {"due", isDue}, {"certificates", rows}},
            isDue ? ExitStatus::RenewalDue : ExitStatus::Done};
}

} // namespace ostrelctl
