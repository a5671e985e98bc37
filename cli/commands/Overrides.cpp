// Overrides: values that applications attach to a certificate.

#include "commands/Arguments.h"
#include "commands/Families.h"
#include "commands/Ids.h"
#include "commands/OpenService.h"
#include "commands/StoreReader.h"
#include "engine/Command.h"
#include "engine/Outcome.h"

#include <ostrelApi/CallError.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

/// The store's word and the id of "ca/ID"; no id in "server".
std::pair<std::string, std::string> partsOf(const std::string& given)
{
    const std::size_t slash = std::min(given.find('/'), given.size());
    return {given.substr(0, slash), slash == given.size() ? "" : given.substr(slash + 1)};
}

std::string wholeId(const std::string& given, const Ids& all, const Store& store)
{
    return &store == &serverStore ? ownIdNamed(given, all) : idNamed(given, all);
}

/// One certificate of any store: "server", "ca/ID" or "client/ID".
class Place
{
public:
    explicit Place(const Invocation& invocation)
        : m_invocation(invocation), m_service(openService(invocation.service()))
    {
        const auto [word, given] = partsOf(invocation.one("CERTIFICATE"));
        m_store = storeNamed(word);
        m_id = wholeId(given, idsOf(m_service, invocation.service(), *m_store), *m_store);
    }

    ostrelApi::OverwrittenData overrides()
    {
        return overridesOf(m_service, m_invocation.service(), *m_store, m_id);
    }

    Json json(const Json& overrides) const
    {
        return {{"service", m_invocation.service()},
                {"store", m_store->word},
                {"id", m_id},
                {"overrides", overrides}};
    }

private:
    static const Store* storeNamed(const std::string& word)
    {
        const Store* const store = storeCalled(word);
        if (store == nullptr) {
            throw Failure(ExitStatus::Usage, "there is no store '" + word + "'",
                          "a certificate is server, ca/ID or client/ID");
        }
        return store;
    }

    const Invocation& m_invocation;
    OstrelService m_service;
    const Store* m_store = nullptr;
    std::string m_id;
};

void setPending(ostrelApi::OverwrittenData& data, const std::string& key, const std::string& value)
{
    try {
        data.setData(key, value);
    } catch (const ostrelApi::CallError&) {
        throw Failure(ExitStatus::Usage, "'" + key + "' with this value is not an override",
                      "a key has letters, digits, - and _; a value is one line of text");
    }
}

Outcome change(const Invocation& invocation, const std::string& value)
{
    Place place(invocation);
    ostrelApi::OverwrittenData data = place.overrides();
    setPending(data, invocation.one("KEY"), value);
    const Json result = data.getMap();
    data.write();
    return {place.json(result)};
}

Outcome getOverrides(const Invocation& invocation)
{
    Place place(invocation);
    const Json all = place.overrides().getMap();
    if (!invocation.has("KEY")) {
        return {place.json(all)};
    }
    const std::string key = invocation.one("KEY");
    if (!all.contains(key)) {
        throw Failure(ExitStatus::Failed, "the certificate has no override '" + key + "'",
                      "`ostrelctl override get` without KEY prints all");
    }
    Outcome outcome{place.json({{key, all.at(key)}})};
    outcome.json["value"] = all.at(key);
    outcome.view = lines("", "/value");
    return outcome;
}

Outcome setOverride(const Invocation& invocation)
{
    return change(invocation, invocation.one("VALUE"));
}

Outcome unsetOverride(const Invocation& invocation)
{
    return change(invocation, "");
}

Candidates certificateCandidates(const Words& before)
{
    const std::string& name = before.at(0);
    Candidates all;
    for (const Store* const store : stores()) {
        if (!(OstrelService(name).*store->isThere)()) {
            continue;
        }
        if (store == &serverStore) {
            all.push_back({store->word, "the active one"});
            continue;
        }
        const Candidates some = idCandidates(name, *store, std::string(store->word) + '/');
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

// A shell can run what it inserts. A key in the file may be any text, as of an application.
bool isWordInAnyShell(const std::string& key)
{
    const char* const plainCharacters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                        "0123456789_.:/@%+=,-";
    return !key.empty() && key[0] != '-' && key[0] != '=' &&
           key.find_first_not_of(plainCharacters) == std::string::npos;
}

Candidates keyCandidates(const Words& before)
{
    OstrelService service(before.at(0));
    const auto [word, given] = partsOf(before.at(1));
    const Store* const store = storeCalled(word);
    if (store == nullptr) {
        return {};
    }
    const std::string id = wholeId(given, idsOf(service, before.at(0), *store), *store);
    Candidates all;
    for (const auto& [key, value] : overridesOf(service, before.at(0), *store, id).getMap()) {
        if (isWordInAnyShell(key)) {
            all.push_back({key, value});
        }
    }
    return all;
}

Argument certificateArgument()
{
    return {"CERTIFICATE", Kind::Object, Arity::One, "server, ca/ID or client/ID",
            certificateCandidates};
}

Argument keyArgument()
{
    return {"KEY", Kind::Object, Arity::One, "Letters, digits, - and _", keyCandidates};
}

} // namespace

// Rows, not steps: they may be many.
// NOLINTBEGIN(readability-function-size)
Family overrideFamily()
{
    const std::string api = "getServerCertificateOverwrittenData getCAOverwrittenData "
                            "getTrustedClientOverwrittenData";
    const View all = {View::Members, "/overrides"};
    return {
        "Overrides",
        {{"override", "Values that applications attach to a certificate"}},
        {
            {"override get",
             {serviceArgument(),
              certificateArgument(),
              {"KEY", Kind::Object, Arity::Optional, "Print only this one", keyCandidates}},
             {},
             "Print the overrides of a certificate",
             api,
             Daemon::NotUsed,
             getOverrides,
             all},
            {"override set",
             {serviceArgument(),
              certificateArgument(),
              keyArgument(),
              {"VALUE", Kind::Text, Arity::One, "Any text of one line"}},
             {},
             "Set an override",
             api,
             Daemon::NotUsed,
             setOverride,
             all},
            {"override unset",
             {serviceArgument(), certificateArgument(), keyArgument()},
             {},
             "Remove an override",
             api,
             Daemon::NotUsed,
             unsetOverride,
             all},
        },
    };
}

// NOLINTEND(readability-function-size)

} // namespace ostrelctl
