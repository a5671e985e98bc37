#include "commands/StoreQueries.h"

#include "commands/AsJson.h"
#include "commands/OpenService.h"
#include "commands/Request.h"
#include "commands/Selection.h"
#include "commands/StoreReader.h"
#include "engine/Outcome.h"

namespace ostrelctl
{

namespace
{

Json headOf(const Invocation& invocation, const Store& store)
{
    return {{"service", invocation.service()}, {"store", store.word}};
}

/// A row for each certificate, with what the operation returns for it.
Outcome textRows(const Invocation& invocation, const Store& store, const char* member,
                 std::string (OstrelService::*operation)(const std::string&))
{
    Selection selection(invocation, store);
    Json rows = Json::array();
    for (const std::string& id : selection.ids()) {
        rows.push_back({{"id", id}, {member, asInTheFile((selection.service().*operation)(id))}});
    }
    Outcome outcome{headOf(invocation, store)};
    outcome.json["certificates"] = rows;
    return outcome;
}

} // namespace

Outcome list(const Invocation& invocation, const Store& store)
{
    const std::string name = invocation.service();
    OstrelService service = openService(name);
    const Ids ids = invocation.has("--cn") ? (service.*store.listByCN)(invocation.one("--cn"))
                                           : listedIds(service, name, store);
    Outcome outcome{headOf(invocation, store)};
    outcome.json["certificates"] = jsonOf(entriesOf(name, store, ids));
    return outcome;
}

Outcome show(const Invocation& invocation, const Store& store)
{
    return textRows(invocation, store, "pem", store.show);
}

Outcome details(const Invocation& invocation, const Store& store)
{
    return textRows(invocation, store, "details", store.details);
}

Outcome info(const Invocation& invocation, const Store& store)
{
    Selection selection(invocation, store);
    const std::string& id = selection.ids().front();
    Outcome outcome{headOf(invocation, store)};
    outcome.json["id"] = id;
    outcome.json["summary"] = jsonOf((selection.service().*store.info)(id));
    if (store.target == ostrel::TargetServer) {
        outcome.json["summary"]["keyInTpm"] = selection.service().isServerKeyInTPM(id);
    }
    return outcome;
}

Outcome record(const Invocation& invocation, const Store& store)
{
    Selection selection(invocation, store);
    const std::string& id = selection.ids().front();
    Outcome outcome{headOf(invocation, store)};
    outcome.json["id"] = id;
    outcome.json["record"] =
        request(invocation, [&] { return jsonOf(store.record(selection.service(), id)); });
    return outcome;
}

std::function<Outcome(const Invocation&)> on(const Store& store, StoreFunction function)
{
    return [&store, function](const Invocation& invocation) { return function(invocation, store); };
}

View certificateTable()
{
    return {View::Table,
            "/certificates",
            {{"ID", "/id"},
             {"COMMON NAME", "/commonName"},
             {"VALID UNTIL", "/validUntil"},
             {"DAYS", "/daysLeft", Style::Days}}};
}

View summaryFields()
{
    return {View::Fields,
            "",
            {{"id", "/id"},
             {"issued to", "/summary/issuedTo"},
             {"issued by", "/summary/issuedBy"},
             {"authority", "/summary/CA", Style::YesNo},
             {"self-signed", "/summary/selfSigned", Style::YesNo},
             {"valid from", "/summary/validFrom"},
             {"valid until", "/summary/validUntil"},
             {"days left", "/summary/daysLeft", Style::Days},
             {"addresses", "/summary/addresses", Style::List},
             {"host names", "/summary/hostNames", Style::List}}};
}

} // namespace ostrelctl
