#include "Context.h"
#include "Ids.h"
#include "ReturnCodes.h"
#include "Survey.h"
#include "Work.h"

#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrel/InternalCertificatesAccessor.h>

namespace ostrelctl
{

namespace
{

/// One certificate of any store: "server", "ca/ID" or "client/ID".
class Place
{
public:
    explicit Place(Context& context)
        : m_context(context), m_service(openService(context.serviceName()))
    {
        const std::string given = context.invocation.one("CERTIFICATE");
        const std::size_t slash = given.find('/');
        m_store = storeNamed(given.substr(0, slash));
        m_id = wholeId(slash == std::string::npos ? "" : given.substr(slash + 1));
        context.path.clear();
    }

    ostrelApi::OverwrittenData overrides() { return (m_service.*m_store->overrides)(m_id); }

    /// The file may be unreadable, or not be written, for this user.
    void lookAtFile()
    {
        m_context.path =
            m_store == &serverStore
                ? ostrel::InternalCertificatesAccessor(m_context.serviceName(), "server")
                      .certOverwrittenDataPath(m_id)
                : ostrel::ExternalCertificatesAccessor(m_context.serviceName(), m_store->word)
                      .certOverwrittenDataPath(m_id);
    }

    Json json(const Json& overrides) const
    {
        return {{"service", m_context.serviceName()},
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
                          "a certificate is named server, ca/ID or client/ID");
        }
        return store;
    }

    std::string wholeId(const std::string& given)
    {
        m_context.path = listPathOf(m_context.serviceName(), *m_store);
        const Ids all = idsOf(m_service, m_context.serviceName(), *m_store);
        return m_store == &serverStore ? ownIdNamed(given, all) : idNamed(given, all);
    }

    Context& m_context;
    OstrelService m_service;
    const Store* m_store = nullptr;
    std::string m_id;
};

void setPending(ostrelApi::OverwrittenData& data, const std::string& key, const std::string& value)
{
    try {
        data.setData(key, value);
    } catch (const ostrelApi::OstrelApiException&) {
        throw Failure(ExitStatus::Usage, "'" + key + "' with this value is no override",
                      "a key is of letters, digits, - and _, a value is a line of text");
    }
}

Outcome change(Context& context, const std::string& value)
{
    Place place(context);
    place.lookAtFile();
    context.access = R_OK | W_OK;
    ostrelApi::OverwrittenData data = place.overrides();
    setPending(data, context.invocation.one("KEY"), value);
    const Json result = data.getMap();
    data.write();
    return {place.json(result)};
}

} // namespace

Outcome getOverrides(Context& context)
{
    Place place(context);
    place.lookAtFile();
    const Json all = place.overrides().getMap();
    if (!context.invocation.has("KEY")) {
        return {place.json(all)};
    }
    const std::string key = context.invocation.one("KEY");
    if (!all.contains(key)) {
        throw Failure(ExitStatus::Failed, "the certificate has no override '" + key + "'",
                      "`ostrelctl override get` without a key shows all");
    }
    Outcome outcome{place.json({{key, all.at(key)}})};
    outcome.json["value"] = all.at(key);
    outcome.view = View{View::Lines, "", {{"", "/value"}}};
    return outcome;
}

Outcome setOverride(Context& context)
{
    return change(context, context.invocation.one("VALUE"));
}

Outcome unsetOverride(Context& context)
{
    return change(context, "");
}

} // namespace ostrelctl
