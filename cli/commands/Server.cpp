// The service's own certificate, its key, and the request for the next one.

#include "commands/Arguments.h"
#include "commands/AsJson.h"
#include "commands/Families.h"
#include "commands/Ids.h"
#include "commands/OpenService.h"
#include "commands/PemInput.h"
#include "commands/Request.h"
#include "commands/StoreQueries.h"
#include "commands/StoreReader.h"
#include "commands/Times.h"
#include "engine/Outcome.h"

#include <ctime>

namespace ostrelctl
{

namespace
{

/// The service's own certificate, its key and its pending request.
struct Server {
    explicit Server(const Invocation& invocation)
        : name(invocation.service()), service(openService(name))
    {
    }

    /// The id that the command line names, or the active one.
    std::string id(const Invocation& invocation)
    {
        const Ids active = idsOf(service, name, serverStore);
        return ownIdNamed(invocation.one("ID"), active);
    }

    Json json(const char* member, const Json& value) const
    {
        return {{"service", name}, {member, value}};
    }

    const std::string name;
    OstrelService service;
};

GivenCertificate onlyOneOf(const std::string& path)
{
    const auto given = certificatesOf(path);
    if (given.size() != 1) {
        throw Failure(ExitStatus::Failed,
                      path + " holds " + std::to_string(given.size()) + " certificates",
                      "a service has one certificate of its own");
    }
    return given.front();
}

Outcome path(const Invocation& invocation)
{
    Server server(invocation);
    const std::string id = server.id(invocation);
    return {{{"service", server.name},
             {"id", id},
             {"path", server.service.getServerCertificatePath(id)}}};
}

Outcome key(const Invocation& invocation)
{
    Server server(invocation);
    const std::string id = server.id(invocation);
    return {{{"service", server.name},
             {"id", id},
             {"key", asInTheFile(server.service.getServerKey(id))}}};
}

Outcome apply(const Invocation& invocation)
{
    Server server(invocation);
    const GivenCertificate given = onlyOneOf(invocation.one("FILE"));
    const std::string id = request(invocation, [&] {
        return server.service.importCertificate(ostrel::TargetServer, given.pem);
    });
    return {{{"service", server.name}, {"source", given.source}, {"id", id}}};
}

Outcome revoke(const Invocation& invocation)
{
    Server server(invocation);
    if (idsOf(server.service, server.name, serverStore).empty()) {
        return {server.json("revoked", nullptr)};
    }
    const std::string id = server.id(invocation);
    request(invocation, [&] { server.service.revokeServerCertificate(id); });
    return {server.json("revoked", id)};
}

Outcome createRequest(const Invocation& invocation)
{
    Server server(invocation);
    const ostrelApi::ConfiguredField fields{invocation.has("--compliant")};
    request(invocation, [&] { server.service.createServerCsr(fields); });
    return {server.json("created", true)};
}

Outcome showRequest(const Invocation& invocation)
{
    Server server(invocation);
    return {server.json("csr", asInTheFile(server.service.getServerCsr()))};
}

Outcome describeRequest(const Invocation& invocation)
{
    Server server(invocation);
    return {server.json("record",
                        request(invocation, [&] { return jsonOf(server.service.getCsrInfo()); }))};
}

Outcome requestAge(const Invocation& invocation)
{
    Server server(invocation);
    if (!server.service.hasServer()) {
        throw ostrelApi::CallError(ostrelApi::NoSuchTarget, "the service has no server store");
    }
    const std::int64_t created = server.service.getServerCsrTimestamp();
    if (created == 0) {
        throw ostrelApi::CallError(ostrelApi::NoCsr, "");
    }
    return {{{"service", server.name},
             {"created", timeText(created)},
             {"seconds", std::time(nullptr) - created}}};
}

View ownSummary()
{
    View summary = summaryFields();
    summary.columns.push_back({"key in TPM", "/summary/keyInTpm", Style::YesNo});
    return summary;
}

// Rows, not steps: they may be many.
// NOLINTBEGIN(readability-function-size)
std::vector<Command> queries()
{
    return {
        {"server list",
         {serviceArgument()},
         {},
         "List the active certificate",
         "getServerCertificateList getServerActiveCertificateId",
         Daemon::NotUsed,
         on(serverStore, list),
         certificateTable()},
        {"server show",
         {serviceArgument(), ownId()},
         {},
         "Print the certificate as PEM",
         "getServerCertificate",
         Daemon::NotUsed,
         on(serverStore, show),
         texts("/certificates", "/pem")},
        {"server info",
         {serviceArgument(), ownId()},
         {},
         "Print the summary of the certificate",
         "getServerCertificateInfo isServerKeyInTPM",
         Daemon::NotUsed,
         on(serverStore, info),
         ownSummary()},
        {"server record",
         {serviceArgument()},
         {},
         "Print every field of the certificate",
         "getServerCertInfo",
         Daemon::Asked,
         on(serverStore, record),
         {View::Members, "/record"}},
        {"server details",
         {serviceArgument(), ownId()},
         {},
         "Print the full text of the certificate",
         "getServerCertificateDetails",
         Daemon::NotUsed,
         on(serverStore, details),
         texts("/certificates", "/details")},
        {"server path",
         {serviceArgument(), ownId()},
         {},
         "Print the path of the certificate",
         "getServerCertificatePath",
         Daemon::NotUsed,
         path,
         lines("", "/path")},
        {"server key",
         {serviceArgument(), ownId()},
         {},
         "Print the private key as PEM",
         "getServerKey",
         Daemon::NotUsed,
         key,
         texts("", "/key")},
    };
}

std::vector<Command> changes()
{
    return {
        {"server apply",
         {serviceArgument(), pemFile()},
         {},
         "Make the certificate that answers the request active",
         "importCertificate applyServerCertificate applyServerCertificateFile",
         Daemon::Asked,
         apply,
         sentence("{/id} is active")},
        {"server revoke",
         {serviceArgument()},
         {},
         "Revoke the active certificate",
         "revokeServerCertificate",
         Daemon::Asked,
         revoke,
         sentence("revoked: {/revoked}")},
    };
}

std::vector<Command> requests()
{
    return {
        {"server csr",
         {serviceArgument()},
         {},
         "Print the pending request, as `server csr show` does",
         "getServerCsr",
         Daemon::NotUsed,
         showRequest,
         texts("", "/csr")},
        {"server csr create",
         {serviceArgument()},
         {{"--compliant", nullptr, "Create a request that complies with CA-CB_compliant"}},
         "Create a key and a signing request",
         "createServerCsr",
         Daemon::Asked,
         createRequest,
         sentence("{/service}: a request is pending"),
         [](const Invocation& /*invocation*/) { return true; }},
        {"server csr show",
         {serviceArgument()},
         {},
         "Print the pending request as PEM",
         "getServerCsr",
         Daemon::NotUsed,
         showRequest,
         texts("", "/csr")},
        {"server csr info",
         {serviceArgument()},
         {},
         "Print every field of the pending request",
         "getCsrInfo",
         Daemon::Asked,
         describeRequest,
         {View::Members, "/record"}},
        {"server csr age",
         {serviceArgument()},
         {},
         "Print the age of the pending request in seconds",
         "getServerCsrTimestamp",
         Daemon::NotUsed,
         requestAge,
         lines("", "/seconds")},
    };
}

// NOLINTEND(readability-function-size)

} // namespace

Family serverFamily()
{
    Family family{"Server certificate",
                  {{"server", "The service's own certificate and its key"},
                   {"server csr", "The signing request for the next certificate"}},
                  queries()};
    for (const auto& commands : {changes(), requests()}) {
        family.commands.insert(family.commands.end(), commands.begin(), commands.end());
    }
    return family;
}

} // namespace ostrelctl
