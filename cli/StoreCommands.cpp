#include "Context.h"
#include "Ids.h"
#include "Input.h"
#include "Patience.h"
#include "Records.h"
#include "ReturnCodes.h"
#include "Survey.h"
#include "Work.h"

#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/InternalCertificatesAccessor.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

Json headOf(const Context& context)
{
    return {{"service", context.serviceName()}, {"store", context.store().word}};
}

// A service without a certificate of its own is nothing special; one without
// the list of a store is.
Ids knownIds(OstrelService& service, const std::string& name, const Store& store)
{
    return store.target == ostrel::TargetServer ? idsOf(service, name, store)
                                                : (service.*store.list)();
}

/// The certificates that a command names, by their whole ids.
class Selection
{
public:
    explicit Selection(Context& context)
        : m_context(context), m_service(openService(context.serviceName()))
    {
        context.path = listPathOf(context.serviceName(), context.store());
        const Ids all = knownIds(m_service, context.serviceName(), context.store());
        context.path.clear();
        for (const std::string& given : context.invocation.all("ID")) {
            m_ids.push_back(idNamed(given, all));
        }
        if (context.store().target == ostrel::TargetServer && m_ids.empty()) {
            m_ids = {ownIdNamed("", all)};
        }
    }

    OstrelService& service() { return m_service; }
    const Ids& ids() const { return m_ids; }

    /// One row for each, which holds what the operation gives for it.
    Outcome rows(const char* member, std::string (OstrelService::*operation)(const std::string&))
    {
        Outcome outcome{headOf(m_context)};
        outcome.json["certificates"] = Json::array();
        for (const std::string& id : m_ids) {
            outcome.json["certificates"].push_back(
                {{"id", id}, {member, asInTheFile((m_service.*operation)(id))}});
        }
        return outcome;
    }

private:
    Context& m_context;
    OstrelService m_service;
    Ids m_ids;
};

// The map's numbered keys become lists, its words what they stand for.
Json summaryOf(const Summary& map)
{
    Json json = {{"addresses", Json::array()}, {"hostNames", Json::array()}};
    for (const auto& [name, value] : map) {
        if (name.rfind("IP.", 0) == 0) {
            json["addresses"].push_back(value);
        } else if (name.rfind("DNS.", 0) == 0) {
            json["hostNames"].push_back(value);
        } else if (name.rfind("valid", 0) == 0) {
            json[name] = timeText(std::stoll(value));
        } else if (name.rfind("issued", 0) == 0) {
            json[name] = value;
        } else {
            json[name] = value == "yes";
        }
    }
    json["daysLeft"] = daysUntil(std::stoll(map.at("validUntil")));
    return json;
}

Json jsonOf(const std::vector<Entry>& entries)
{
    Json rows = Json::array();
    for (const Entry& entry : entries) {
        rows.push_back(ostrelctl::jsonOf(entry));
    }
    return rows;
}

} // namespace

Outcome list(Context& context)
{
    const std::string name = context.serviceName();
    OstrelService service = openService(name);
    context.path = listPathOf(name, context.store());
    const Ids ids = context.invocation.has("--cn")
                        ? (service.*context.store().listByCN)(context.invocation.one("--cn"))
                        : knownIds(service, name, context.store());
    Outcome outcome{headOf(context)};
    outcome.json["certificates"] = jsonOf(entriesOf(name, context.store(), ids));
    return outcome;
}

Outcome show(Context& context)
{
    return Selection(context).rows("pem", context.store().show);
}

Outcome details(Context& context)
{
    return Selection(context).rows("details", context.store().details);
}

Outcome info(Context& context)
{
    Selection selection(context);
    const std::string& id = selection.ids().front();
    Outcome outcome{headOf(context)};
    outcome.json["id"] = id;
    outcome.json["summary"] = summaryOf((selection.service().*context.store().info)(id));
    if (context.store().target == ostrel::TargetServer) {
        outcome.json["summary"]["keyInTpm"] = selection.service().isServerKeyInTPM(id);
    }
    return outcome;
}

Outcome record(Context& context)
{
    Selection selection(context);
    const std::string& id = selection.ids().front();
    Outcome outcome{headOf(context)};
    outcome.json["id"] = id;
    outcome.json["record"] = asking(context, [&] {
        return ostrelctl::jsonOf(context.store().record(selection.service(), id));
    });
    return outcome;
}

Outcome path(Context& context)
{
    Selection selection(context);
    const ostrel::ExternalCertificatesAccessor paths(context.serviceName(), context.store().word);
    Outcome outcome{headOf(context)};
    outcome.json["directory"] = (selection.service().*context.store().directory)();
    outcome.json["paths"] = Json::array();
    for (const std::string& id : selection.ids()) {
        outcome.json["paths"].push_back({{"id", id}, {"path", paths.certPath(id)}});
    }
    if (selection.ids().empty()) {
        outcome.view = View{View::Lines, "", {{"", "/directory"}}};
    }
    return outcome;
}

Outcome find(Context& context)
{
    OstrelService service = openService(context.serviceName());
    const auto given = certificatesOf(context.invocation.one("FILE"));
    context.path = listPathOf(context.serviceName(), context.store());
    Outcome outcome{headOf(context)};
    outcome.json["certificates"] = Json::array();
    for (const GivenCertificate& certificate : given) {
        Deadline::check();
        const std::string id = (service.*context.store().find)(certificate.pem);
        outcome.json["certificates"].push_back(
            {{"source", certificate.source}, {"id", id.empty() ? Json() : Json(id)}});
        if (id.empty()) {
            outcome.failure =
                Failure(ExitStatus::NoCertificate, "the store does not hold " + certificate.source);
        }
    }
    return outcome;
}

Outcome revoke(Context& context)
{
    Outcome outcome{headOf(context)};
    outcome.json["revoked"] = Json::array();
    Selection selection(context);
    if (!selection.ids().empty()) {
        outcome.json["revoked"] = asking(context, [&] {
            return (selection.service().*context.store().revoke)(selection.ids());
        });
    }
    outcome.json["count"] = outcome.json["revoked"].size();
    return outcome;
}

} // namespace ostrelctl
