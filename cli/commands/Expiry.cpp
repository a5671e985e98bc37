// Which certificates expire next, and whether it is time to renew.

#include "commands/Arguments.h"
#include "commands/AsJson.h"
#include "commands/Families.h"
#include "commands/OpenService.h"
#include "commands/StoreReader.h"
#include "engine/Command.h"
#include "engine/Outcome.h"

#include <ostrelApi/CallError.h>
#include <ostrelApi/ReturnCode.h>

#include <algorithm>
#include <limits>

namespace ostrelctl
{

namespace
{

std::vector<std::string> servicesOf(const Invocation& invocation)
{
    auto names = invocation.all("SERVICE");
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

// A certificate with an unknown end comes first: it needs attention.
std::int64_t daysOf(const Json& row)
{
    const Json& days = row.at("daysLeft");
    return days.is_null() ? std::numeric_limits<std::int64_t>::min() : days.get<std::int64_t>();
}

// A service without a certificate, or with an unknown end of it, is due too.
Json renewalRow(OstrelService& service, const std::string& name, int within)
{
    const auto entries = entriesOf(name, serverStore, idsOf(service, name, serverStore));
    Json row = rowOf(name, serverStore, entries.empty() ? Entry{} : entries.front());
    const Json& days = row.at("daysLeft");
    const bool isDue = days.is_null() || days.get<std::int64_t>() < within;
    row["due"] = isDue;
    return row;
}

// A service without certificates of its own is skipped, unless the line names it.
bool hasServer(const Invocation& invocation, const OstrelService& service)
{
    if (!service.hasServer() && invocation.has("SERVICE")) {
        throw ostrelApi::CallError(ostrelApi::NoSuchTarget, "the service has no server store");
    }
    return service.hasServer();
}

Outcome listExpiry(const Invocation& invocation)
{
    Json rows = Json::array();
    for (const std::string& name : servicesOf(invocation)) {
        OstrelService service = openService(name);
        addRows(rows, service, name);
    }
    if (invocation.has("--within")) {
        const int within = invocation.number("--within");
        rows.erase(std::remove_if(rows.begin(), rows.end(),
                                  [&](const Json& row) { return daysOf(row) >= within; }),
                   rows.end());
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Json& a, const Json& b) { return daysOf(a) < daysOf(b); });
    return {{{"certificates", rows}}};
}

Outcome checkRenewal(const Invocation& invocation)
{
    const int within = invocation.number("--within");
    Json rows = Json::array();
    bool isDue = false;
    for (const std::string& name : servicesOf(invocation)) {
        OstrelService service = openService(name);
        if (hasServer(invocation, service)) {
            rows.push_back(renewalRow(service, name, within));
            isDue = isDue || rows.back().at("due").get<bool>();
        }
    }
    return {{{"within", within}, {"due", isDue}, {"certificates", rows}},
            isDue ? ExitStatus::RenewalDue : ExitStatus::Done};
}

View expiryTable()
{
    return {View::Table,
            "/certificates",
            {{"DAYS", "/daysLeft", Style::Days},
             {"VALID UNTIL", "/validUntil"},
             {"SERVICE", "/service"},
             {"STORE", "/store"},
             {"ID", "/id"},
             {"COMMON NAME", "/commonName"}}};
}

View renewalTable()
{
    return {View::Table,
            "/certificates",
            {{"SERVICE", "/service"},
             {"ID", "/id"},
             {"COMMON NAME", "/commonName"},
             {"VALID UNTIL", "/validUntil"},
             {"DAYS", "/daysLeft", Style::Days},
             {"DUE", "/due", Style::Alarm}}};
}

} // namespace

Family expiryFamily()
{
    return {
        "Expiry",
        {},
        {
            {"expiry",
             {anyServices()},
             {{"--within", "DAYS", "List only certificates that expire within these days", "",
               "number"}},
             "List the certificates of all stores, the next to expire first",
             "getServiceList",
             Daemon::NotUsed,
             listExpiry,
             expiryTable()},
            {"check-renewal",
             {anyServices()},
             {{"--within", "DAYS", "A certificate is due that expires within these days", "30",
               "number"}},
             "Exit with 10 if a server certificate is due for renewal",
             "getServerCertificateList",
             Daemon::NotUsed,
             checkRenewal,
             renewalTable()},
        },
    };
}

} // namespace ostrelctl
