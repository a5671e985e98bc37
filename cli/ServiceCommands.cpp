#include "Context.h"
#include "LockHolder.h"
#include "Patience.h"
#include "Survey.h"
#include "Work.h"

#include <ostrel/DaemonConfiguration.h>
#include <ostrel/ServiceConfiguration.h>
#include <ostrel/Tools.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

// A daemon that ends a service removes its command FIFO; one that was killed
// cannot, but holds its own lock no more.
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

/// The one that ends first.
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

// A service that is out of order keeps no other from being listed.
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

// The library reads messages too, so it knows what the daemon takes.
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
                      "`ostrelctl send SERVICE TARGET help` names the commands of a target");
    }
}

Outcome notified(const char* change)
{
    return {{{"notified", change}}};
}

} // namespace

Outcome listServices(Context& /*context*/)
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

Outcome tellStatus(Context& context)
{
    const std::string name = context.serviceName();
    OstrelService service = openService(name);
    const bool isRunning = asking(context, [&] { return service.isServiceRunning(); });
    Json row = {{"service", name},
                {"title", service.getServiceName()},
                {"running", isRunning},
                {"health", OstrelService::getHealthStatus()},
                {"operating", OstrelService::getOperatingStatus()}};
    addStores(row, service, name);
    return {row, isRunning ? ExitStatus::Done : ExitStatus::Failed};
}

Outcome reload(Context& context)
{
    OstrelService service = openService(context.serviceName());
    asking(context, [&] { service.reloadService(); });
    return {{{"service", context.serviceName()}, {"reloaded", true}}};
}

Outcome send(Context& context)
{
    OstrelService service = openService(context.serviceName());
    ostrel::Commands command = commandOf(context.invocation);
    const std::string payload =
        asking(context, [&] { return service.sendCommandToServer(command); });
    return {{{"service", context.serviceName()}, {"payload", payload}}};
}

Outcome notifyNetwork(Context& /*context*/)
{
    OstrelService::notifyNetwork();
    return notified("network");
}

Outcome notifyTime(Context& /*context*/)
{
    OstrelService::notifyTime();
    return notified("time");
}

} // namespace ostrelctl
