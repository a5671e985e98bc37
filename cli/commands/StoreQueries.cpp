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

Json headOf(const Context& context, const Store& store)
{
    return {{"service", context.serviceName()}, {"store", store.word}};
}

/// A row for each certificate, with what the operation returns for it.
Outcome textRows(Context& context, const Store& store, const char* member,
                 std::string (OstrelService::*operation)(const std::string&))
{
    Selection selection(context, store);
    Json rows = Json::array();
    for (const std::string& id : selection.ids()) {
        rows.push_back({{"id", id}, {member, asInTheFile((selection.service().*operation)(id))}});
    }
    Outcome outcome{headOf(context, store)};
    outcome.json["certificates"] = rows;
    return outcome;
}

} // namespace

Outcome list(Context& context, const Store& store)
{
    const std::string name = context.serviceName();
    OstrelService service = openService(name);
    context.path = listPathOf(name, store);
    const Ids ids = context.invocation.has("--cn")
                        ? (service.*store.listByCN)(context.invocation.one("--cn"))
                        : listedIds(service, name, store);
    Outcome outcome{headOf(context, store)};
    outcome.json["certificates"] = jsonOf(entriesOf(name, store, ids));
    return outcome;
}

Outcome show(Context& context, const Store& store)
{
    return textRows(context, store, "pem", store.show);
}

Outcome details(Context& context, const Store& store)
{
    return textRows(context, store, "details", store.details);
}

Outcome info(Context& context, const Store& store)
{
    Selection selection(context, store);
    const std::string& id = selection.ids().front();
    Outcome outcome{headOf(context, store)};
    outcome.json["id"] = id;
    outcome.json["summary"] = jsonOf((selection.service().*store.info)(id));
    if (store.target == ostrel::TargetServer) {
        outcome.json["summary"]["keyInTpm"] = selection.service().isServerKeyInTPM(id);
    }
    return outcome;
}

Outcome record(Context& context, const Store& store)
{
    Selection selection(context, store);
    const std::string& id = selection.ids().front();
    Outcome outcome{headOf(context, store)};
    outcome.json["id"] = id;
    outcome.json["record"] =
        request(context, [&] { return jsonOf(store.record(selection.service(), id)); });
    return outcome;
}

std::function<Outcome(Context&)> on(const Store& store, StoreFunction function)
{
    return [&store, function](Context& context) { return function(context, store); };
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
