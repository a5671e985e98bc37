#include "commands/Add.h"

#include "commands/OpenService.h"
#include "commands/PemInput.h"
#include "commands/Request.h"
#include "engine/Outcome.h"
#include "engine/Progress.h"
#include "engine/Report.h"
#include "failure/ReturnCodes.h"

#include <fmt/format.h>

#include <algorithm>

namespace ostrelctl
{

namespace
{

/// The results, in the words of the JSON.
const char* const added = "added";
const char* const alreadyThere = "alreadyThere";
const char* const refused = "refused";
const char* const notSent = "notSent";

/// The text of a certificate without line ends, which may differ.
std::string bodyOf(std::string pem)
{
    pem.erase(std::remove_if(pem.begin(), pem.end(),
                             [](char c) { return c == '\n' || c == '\r' || c == ' '; }),
              pem.end());
    return pem;
}

class Addition
{
public:
    Addition(const Invocation& invocation, const Store& store)
        : m_invocation(invocation), m_store(store), m_given(certificatesOf(invocation.all("FILE"))),
          m_service(openService(invocation.service()))
    {
        for (const GivenCertificate& given : m_given) {
            m_rows.push_back(
                {{"source", given.source}, {"result", notSent}, {"id", nullptr}, {"reason", ""}});
        }
    }

    /// Throws where the daemon cannot be asked.
    void run()
    {
        const Progress progress;
        for (std::size_t i = 0; i < m_given.size(); ++i) {
            progress.show(fmt::format("adding {} of {}", i + 1, m_given.size()));
            add(m_given[i], m_rows[i]);
        }
    }

    Json json() const
    {
        Json counts;
        for (const char* result : {added, alreadyThere, refused, notSent}) {
            counts[result] = count(result);
        }
        return {{"service", m_invocation.service()},
                {"store", m_store.word},
                {"counts", counts},
                {"certificates", m_rows}};
    }

    std::optional<Failure> refusals() const
    {
        if (count(refused) == 0) {
            return std::nullopt;
        }
        Failure failure(ExitStatus::Refused,
                        fmt::format("{} of {} certificates refused, {} ({})", count(refused),
                                    m_given.size(), firstRefused().at("source").get<std::string>(),
                                    firstRefused().at("reason").get<std::string>()),
                        "the others are in place");
        failure.returnCode = m_refusalCode;
        return failure;
    }

private:
    void add(const GivenCertificate& given, Json& row)
    {
        try {
            row["id"] = request(m_invocation, [&] {
                return m_service.importCertificate(m_store.target, given.pem);
            });
            row["result"] = added;
        } catch (const ostrelApi::CallError& caught) {
            if (!isOfTheCertificate(caught.getReturnCode())) {
                throw;
            }
            refuse(given, row, caught.getReturnCode());
        }
    }

    // The daemon refuses another certificate with the same common name in the same words.
    void refuse(const GivenCertificate& given, Json& row, int code)
    {
        const bool isSaidToBeThere =
            code == ostrelApi::CAExists || code == ostrelApi::TrustedClientExists;
        const std::string id = isSaidToBeThere ? idOf(given) : "";
        row["reason"] = ostrelApi::globalOstrelMessage(code);
        if (id.empty()) {
            row["result"] = refused;
            m_refusalCode = m_refusalCode == 0 ? code : m_refusalCode;
        } else {
            row["result"] = alreadyThere;
            row["id"] = id;
        }
    }

    std::string idOf(const GivenCertificate& given)
    {
        for (const std::string& id : (m_service.*m_store.list)()) {
            if (m_bodies.count(id) == 0) {
                m_bodies[id] = bodyOf((m_service.*m_store.show)(id));
            }
            if (m_bodies[id] == bodyOf(given.pem)) {
                return id;
            }
        }
        return {};
    }

    std::ptrdiff_t count(const std::string& result) const
    {
        return std::count_if(m_rows.begin(), m_rows.end(),
                             [&](const Json& row) { return row.at("result") == result; });
    }

    const Json& firstRefused() const
    {
        return *std::find_if(m_rows.begin(), m_rows.end(),
                             [](const Json& row) { return row.at("result") == refused; });
    }

    const Invocation& m_invocation;
    const Store& m_store;
    const std::vector<GivenCertificate> m_given;
    OstrelService m_service;
    Json m_rows = Json::array();
    // By id; filled on demand.
    std::map<std::string, std::string> m_bodies;
    int m_refusalCode = 0;
};

} // namespace

Outcome add(const Invocation& invocation, const Store& store)
{
    Addition addition(invocation, store);
    std::optional<Failure> failure;
    try {
        addition.run();
        failure = addition.refusals();
    } catch (const std::exception&) {
        // The answer lists what was added until then.
        failure = failureInFlight(invocation);
    }
    return {addition.json(), ExitStatus::Done, failure};
}

View additionTable()
{
    return {View::Table,
            "/certificates",
            {{"RESULT", "/result"},
             {"ID", "/id"},
             {"SOURCE", "/source"},
             {"REASON", "/reason", Style::Rare}},
            "{/counts/added} added, {/counts/alreadyThere} already there, "
            "{/counts/refused} refused"};
}

} // namespace ostrelctl
