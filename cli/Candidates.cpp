#include "Candidates.h"

#include "Ids.h"
#include "Survey.h"

#include <algorithm>

namespace ostrelctl
{

namespace
{

using Words = std::vector<std::string>;

std::string titleOf(const std::string& service)
{
    try {
        return OstrelService(service).getServiceName();
    } catch (const std::exception&) {
        return "out of order";
    }
}

Candidates services()
{
    Candidates all;
    for (const std::string& name : OstrelService::getServiceList()) {
        all.push_back({name, titleOf(name)});
    }
    return all;
}

Candidates ids(const std::string& name, const Store& store, const std::string& prefix = {})
{
    OstrelService service(name);
    Candidates all;
    for (const Entry& entry : entriesOf(name, store, idsOf(service, name, store))) {
        all.push_back({prefix + entry.id, entry.commonName});
    }
    return all;
}

Candidates certificates(const std::string& name)
{
    Candidates all;
    for (const Store* store : stores()) {
        if (!(OstrelService(name).*store->isThere)()) {
            continue;
        }
        if (store == &serverStore) {
            all.push_back({store->word, "the one in use"});
            continue;
        }
        const Candidates some = ids(name, *store, std::string(store->word) + '/');
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

Candidates keys(const std::string& name, const std::string& certificate)
{
    OstrelService service(name);
    const std::size_t slash = std::min(certificate.find('/'), certificate.size());
    const Store* const store = storeCalled(certificate.substr(0, slash));
    if (store == nullptr) {
        return {};
    }
    const Ids all = idsOf(service, name, *store);
    const std::string given = slash == certificate.size() ? "" : certificate.substr(slash + 1);
    const std::string id = store == &serverStore ? ownIdNamed(given, all) : idNamed(given, all);
    Candidates candidates;
    for (const auto& [key, value] : (service.*store->overrides)(id).getMap()) {
        candidates.push_back({key, value});
    }
    return candidates;
}

Candidates targets()
{
    Candidates all;
    for (const Store* store : stores()) {
        all.push_back({store->word, "the store"});
    }
    all.push_back({"config", "the service itself"});
    return all;
}

} // namespace

Candidates candidatesFor(Kind kind, const Words& before, const Store* store)
{
    switch (kind) {
    case Kind::Service:
        return services();
    case Kind::Id:
    case Kind::OwnId:
        return ids(before.at(0), *store);
    case Kind::Certificate:
        return certificates(before.at(0));
    case Kind::Key:
        return keys(before.at(0), before.at(1));
    case Kind::Target:
        return targets();
    default:
        return {};
    }
}

} // namespace ostrelctl
