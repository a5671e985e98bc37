// The services, and commands of the daemon to them.

#include "commands/Arguments.h"
#include "commands/AsJson.h"
#include "commands/Families.h"
#include "commands/OpenService.h"
#include "commands/Request.h"
#include "commands/StoreReader.h"
#include "engine/Outcome.h"
#include "failure/LockHolder.h"

#include <ostrel/Commands.h>
#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>
#include <ostrel/Tools.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

// A daemon that ends a service removes its command FIFO. A daemon that was killed
// cannot, but no longer holds its own lock.
bool isServed(const OstrelService& service, bool isDaemonThere)
{
    const std::string lock = service.getLockPath();
    const std::string fifo = lock.substr(0, lock.rfind('.')) + ".in";
    return isDaemonThere && ostrel::Tools::fileExist(fifo);
}

Json storeJson(const OstrelService& service, const Store& store)
{
    if (!(service.*store.isThere)()) {
        return nullptr;
    }
    Json json = {{"certificates", nullptr}};
    if (store.maximum != nullptr) {
        const unsigned short maximum = (service.*store.maximum)();
        json["maximum"] = maximum == 0 ? Json() : Json(maximum);
    }
    return json;
}

/// The certificate that expires first.
struct Next {
    std::optional<Entry> entry;
    const Store* store = nullptr;

    void take(const Entry& other, const Store& its)
    {
        if (other.validUntil && (!entry || *other.validUntil < *entry->validUntil)) {
            entry = other;
            store = &its;
        }
    }

    Json json() const
    {
        if (!entry) {
            return nullptr;
        }
        Json row = jsonOf(*entry);
        row["store"] = store->word;
        return row;
    }
};

void addStores(Json& row, OstrelService& service, const std::string& name)
{
    Next next;
    for (const Store* store : stores()) {
        Json json = storeJson(service, *store);
        if (!json.is_null()) {
            const Ids ids = idsOf(service, name, *store);
            json["certificates"] = ids.size();
            for (const Entry& entry : entriesOf(name, *store, ids)) {
                next.take(entry, *store);
            }
        }
        row["stores"][store->word] = json;
    }
    row["nextExpiry"] = next.json();
}

// A service with a broken configuration is listed with its problem.
Json serviceRow(const std::string& name, bool isDaemonThere)
{
    Json row = {{"name", name}, {"title", nullptr}, {"running", false}};
    try {
        OstrelService service(name);
        row["title"] = service.getServiceName();
        row["running"] = isServed(service, isDaemonThere);
        addStores(row, service, name);
    } catch (const std::exception& caught) {
        Deadline::check();
        row["problem"] = caught.what();
    }
    return row;
}

// The library's parser of messages knows the commands of the daemon.
ostrel::Commands commandOf(const Invocation& invocation)
{
    std::string message = "\t\t" + invocation.one("TARGET") + '\t' + invocation.one("KEYWORD");
    for (const std::string& argument : invocation.all("ARGUMENT")) {
        message += '\t' + argument;
    }
    try {
        return ostrel::Commands(message);
    } catch (const std::runtime_error& caught) {
        throw Failure(ExitStatus::Usage, caught.what(),
                      "`ostrelctl send SERVICE TARGET help` lists the commands of a target");
    }
}

Outcome listServices(const Invocation& /*invocation*/)
{
    auto names = OstrelService::getServiceList();
    std::sort(names.begin(), names.end());
    const bool isDaemonThere = !lockHolderOf(ostrel::DaemonConfiguration::getLockFile()).empty();
    Json rows = Json::array();
    for (const std::string& name : names) {
        rows.push_back(serviceRow(name, isDaemonThere));
    }
    return {{{"daemonRunning", isDaemonThere}, {"services", rows}}};
}

Outcome status(const Invocation& invocation)
{
    const std::string name = invocation.service();
    OstrelService service = openService(name);
    const bool isRunning = request(invocation, [&] { return service.isServiceRunning(); });
    Json row = {{"service", name},
                {"title", service.getServiceName()},
                {"running", isRunning},
                {"health", OstrelService::getHealthStatus()},
                {"operating", OstrelService::getOperatingStatus()}};
    addStores(row, service, name);
    return {row, isRunning ? ExitStatus::Done : ExitStatus::Failed};
}

Outcome reload(const Invocation& invocation)
{
    OstrelService service = openService(invocation.service());
    request(invocation, [&] { service.reloadService(); });
    return {{{"service", invocation.service()}, {"reloaded", true}}};
}

Outcome send(const Invocation& invocation)
{
    OstrelService service = openService(invocation.service());
    ostrel::Commands command = commandOf(invocation);
    const std::string payload =
        request(invocation, [&] { return service.sendCommandToServer(command); });
    return {{{"service", invocation.service()}, {"payload", payload}}};
}

bool isForKey(const Invocation& invocation)
{
    const std::string keyword = invocation.one("KEYWORD");
    return keyword == "createcsr" || keyword == "createcrt";
}

Candidates targetCandidates(const Words& /*before*/)
{
    Candidates all;
    for (const Store* const store : stores()) {
        all.push_back({store->word, "the store"});
    }
    all.push_back({"config", "the service itself"});
    return all;
}

std::vector<Argument> sendArguments()
{
    return {serviceArgument(),
            {"TARGET", Kind::Object, Arity::One, "server, ca, client or config", targetCandidates},
            {"KEYWORD", Kind::Text, Arity::One, "A command of the target; `help` lists them"},
            {"ARGUMENT", Kind::Text, Arity::Any, "An argument of this command"}};
}

View serviceTable()
{
    return {View::Table,
            "/services",
            {{"SERVICE", "/name"},
             {"NAME", "/title"},
             {"SERVER", "/stores/server", Style::Count},
             {"CA", "/stores/ca", Style::Count},
             {"CLIENT", "/stores/client", Style::Count},
             {"RUNNING", "/running", Style::YesNo},
             {"NEXT EXPIRY", "/nextExpiry/validUntil"},
             {"DAYS", "/nextExpiry/daysLeft", Style::Days},
             {"PROBLEM", "/problem", Style::Rare}}};
}

View serviceFields()
{
    return {View::Fields,
            "",
            {{"service", "/service"},
             {"name", "/title"},
             {"running", "/running", Style::YesNo},
             {"server certificates", "/stores/server", Style::Count},
             {"CAs", "/stores/ca", Style::Count},
             {"trusted clients", "/stores/client", Style::Count},
             {"next expiry", "/nextExpiry/validUntil"},
             {"days left", "/nextExpiry/daysLeft", Style::Days}}};
}

} // namespace

// Rows, not steps: they may be many.
// NOLINTNEXTLINE(readability-function-size)
Family serviceFamily()
{
    return {
        "Services",
        {},
        {
            {"services",
             {},
             {},
             "List the services, their stores and the next expiry",
             "getServiceList getServiceName hasServer hasCA maxCA hasTrustedClient "
             "maxTrustedClient",
             Daemon::NotUsed,
             listServices,
             serviceTable()},
            {"status",
             {serviceArgument()},
             {},
             "Report whether the daemon serves a service",
             "isServiceRunning getHealthStatus getOperatingStatus",
             Daemon::Asked,
             status,
             serviceFields()},
            {"reload",
             {serviceArgument()},
             {},
             "Make the daemon read a service's configuration again",
             "reloadService",
             Daemon::Asked,
             reload,
             sentence("{/service}: configuration read again")},
            {"send",
             sendArguments(),
             {},
             "Send the daemon one of its own commands, and print the reply",
             "sendCommandToServer",
             Daemon::Asked,
             send,
             texts("", "/payload"),
             isForKey},
        },
    };
}

} // namespace ostrelctl
