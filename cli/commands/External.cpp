// The CAs and the trusted clients.

#include "commands/Add.h"
#include "commands/Arguments.h"
#include "commands/Families.h"
#include "commands/OpenService.h"
#include "commands/PemInput.h"
#include "commands/Request.h"
#include "commands/Selection.h"
#include "commands/StoreQueries.h"
#include "commands/StoreReader.h"
#include "engine/Outcome.h"

#include <ostrel/ExternalCertificatesAccessor.h>

namespace ostrelctl
{

namespace
{

Json headOf(const Invocation& invocation, const Store& store)
{
    return {{"service", invocation.service()}, {"store", store.word}};
}

Outcome path(const Invocation& invocation, const Store& store)
{
    Selection selection(invocation, store);
    const ostrel::ExternalCertificatesAccessor paths(invocation.service(), store.word);
    Outcome outcome{headOf(invocation, store)};
    outcome.json["directory"] = (selection.service().*store.directory)();
    outcome.json["paths"] = Json::array();
    for (const std::string& id : selection.ids()) {
        outcome.json["paths"].push_back({{"id", id}, {"path", paths.certPath(id)}});
    }
    if (selection.ids().empty()) {
        outcome.view = lines("", "/directory");
    }
    return outcome;
}

Outcome find(const Invocation& invocation, const Store& store)
{
    OstrelService service = openService(invocation.service());
    const auto given = certificatesOf(invocation.one("FILE"));
    Outcome outcome{headOf(invocation, store)};
    outcome.json["certificates"] = Json::array();
    for (const GivenCertificate& certificate : given) {
        Deadline::check();
        const std::string id = (service.*store.find)(certificate.pem);
        outcome.json["certificates"].push_back(
            {{"source", certificate.source}, {"id", id.empty() ? Json() : Json(id)}});
        if (id.empty()) {
            outcome.failure =
                Failure(ExitStatus::NoCertificate, "the store does not hold " + certificate.source);
        }
    }
    return outcome;
}

Outcome revoke(const Invocation& invocation, const Store& store)
{
    Outcome outcome{headOf(invocation, store)};
    outcome.json["revoked"] = Json::array();
    Selection selection(invocation, store);
    if (!selection.ids().empty()) {
        outcome.json["revoked"] = request(
            invocation, [&] { return (selection.service().*store.revoke)(selection.ids()); });
    }
    outcome.json["count"] = outcome.json["revoked"].size();
    return outcome;
}

// Rows, not steps: they may be many.
// NOLINTBEGIN(readability-function-size)
std::vector<Command> queries(const Store& store)
{
    const std::string word = store.word;
    const std::string get = std::string("get") + store.name;
    const std::string name = store.name;
    return {
        {word + " list",
         {serviceArgument()},
         {{"--cn", "NAME", "List only the certificates with exactly this common name"}},
         "List the certificates",
         get + "List " + get + "ListByCN",
         Daemon::NotUsed,
         on(store, list),
         certificateTable()},
        {word + " show",
         {serviceArgument(), idOf(store, Arity::AtLeastOne)},
         {},
         "Print certificates as PEM",
         get,
         Daemon::NotUsed,
         on(store, show),
         texts("/certificates", "/pem")},
        {word + " info",
         {serviceArgument(), idOf(store, Arity::One)},
         {},
         "Print the summary of a certificate",
         get + "Info",
         Daemon::NotUsed,
         on(store, info),
         summaryFields()},
        {word + " record",
         {serviceArgument(), idOf(store, Arity::One)},
         {},
         "Print every field of a certificate",
         get + "CertInfo",
         Daemon::Asked,
         on(store, record),
         {View::Members, "/record"}},
        {word + " details",
         {serviceArgument(), idOf(store, Arity::AtLeastOne)},
         {},
         "Print the full text of certificates",
         get + "Details",
         Daemon::NotUsed,
         on(store, details),
         texts("/certificates", "/details")},
        {word + " path",
         {serviceArgument(), idOf(store, Arity::Any)},
         {},
         "Print the paths of certificates, or of their directory",
         get + "Directory",
         Daemon::NotUsed,
         on(store, path),
         lines("/paths", "/path")},
        {word + " find",
         {serviceArgument(), pemFile()},
         {},
         "Print the ids of the certificates in a PEM file",
         "getId" + name + " getId" + name + "Path",
         Daemon::NotUsed,
         on(store, find),
         lines("/certificates", "/id")},
    };
}

// NOLINTEND(readability-function-size)

std::vector<Command> changes(const Store& store)
{
    const std::string word = store.word;
    const std::string name = store.name;
    return {
        {word + " add",
         {serviceArgument(), pemFiles()},
         {},
         "Add the certificates in PEM files",
         "importCertificate add" + name + " add" + name + "File",
         Daemon::Asked,
         on(store, add),
         additionTable()},
        {word + " revoke",
         {serviceArgument(), idOf(store, Arity::Any)},
         {},
         "Revoke certificates",
         "revoke" + name,
         Daemon::Asked,
         on(store, revoke),
         sentence("{/count} revoked")},
    };
}

} // namespace

Family externalFamily(const Store& store)
{
    const bool isCA = store.target == ostrel::TargetCA;
    Family family{isCA ? "Certificate authorities" : "Trusted clients",
                  {{store.word, isCA ? "The certificate authorities that a service trusts"
                                     : "The clients that a service trusts"}},
                  queries(store)};
    for (const Command& command : changes(store)) {
        family.commands.push_back(command);
    }
    return family;
}

} // namespace ostrelctl
