#include "Context.h"
#include "Ids.h"
#include "Input.h"
#include "Patience.h"
#include "Records.h"
#include "ReturnCodes.h"
#include "Survey.h"
#include "Work.h"

#include <ostrel/InternalCertificatesAccessor.h>

#include <ctime>

namespace ostrelctl
{

namespace
{

using ostrel::InternalCertificatesAccessor;

/// The service's own certificate, its key and its pending request.
struct Server {
    explicit Server(Context& context)
        : name(context.serviceName()), service(openService(name)), paths(name, "server")
    {
        context.path = paths.activePath();
    }

    /// The id that the command line names, or the one in use.
    std::string id(Context& context)
    {
        const Ids active = idsOf(service, name, serverStore);
        context.path.clear();
        return ownIdNamed(context.invocation.one("ID"), active);
    }

    Json json(const char* member, const Json& value) const
    {
        return {{"service", name}, {member, value}};
    }

    const std::string name;
    OstrelService service;
    const InternalCertificatesAccessor paths;
};

GivenCertificate onlyOneOf(const std::string& path)
{
    const auto given = certificatesOf(path);
    if (given.size() != 1) {
        throw Failure(ExitStatus::Failed,
                      path + " holds " + std::to_string(given.size()) + " certificates",
                      "a service has one of its own: give that one alone");
    }
    return given.front();
}

} // namespace

Outcome serverPath(Context& context)
{
    Server server(context);
    const std::string id = server.id(context);
    context.path = server.paths.certPath(id);
    return {{{"service", server.name},
             {"id", id},
             {"path", server.service.getServerCertificatePath(id)}}};
}

Outcome key(Context& context)
{
    Server server(context);
    const std::string id = server.id(context);
    context.path = server.paths.certKeyPath(id);
    return {{{"service", server.name},
             {"id", id},
             {"key", asInTheFile(server.service.getServerKey(id))}}};
}

Outcome apply(Context& context)
{
    Server server(context);
    context.path.clear();
    const GivenCertificate given = onlyOneOf(context.invocation.one("FILE"));
    const std::string id = asking(
        context, [&] { return server.service.importCertificate(ostrel::TargetServer, given.pem); });
    return {{{"service", server.name}, {"source", given.source}, {"id", id}}};
}

Outcome revokeServer(Context& context)
{
    Server server(context);
    if (idsOf(server.service, server.name, serverStore).empty()) {
        return {server.json("revoked", nullptr)};
    }
    const std::string id = server.id(context);
    asking(context, [&] { server.service.revokeServerCertificate(id); });
    return {server.json("revoked", id)};
}

Outcome createRequest(Context& context)
{
    Server server(context);
    context.path.clear();
    const ostrelApi::ConfiguredField fields{context.invocation.has("--compliant")};
    asking(context, [&] { server.service.createServerCsr(fields); });
    return {server.json("created", true)};
}

Outcome showRequest(Context& context)
{
    Server server(context);
    context.path.clear();
    return {server.json("csr", asInTheFile(server.service.getServerCsr()))};
}

Outcome describeRequest(Context& context)
{
    Server server(context);
    context.path.clear();
    return {server.json("record",
                        asking(context, [&] { return jsonOf(server.service.getCsrInfo()); }))};
}

Outcome tellRequestAge(Context& context)
{
    Server server(context);
    context.path.clear();
    if (!server.service.hasServer()) {
        throw ostrelApi::CallError(ostrelApi::NoSuchTarget, "");
    }
    const std::int64_t created = server.service.getServerCsrTimestamp();
    if (created == 0) {
        throw ostrelApi::CallError(ostrelApi::NoCsr, "");
    }
    return {{{"service", server.name},
             {"created", timeText(created)},
             {"seconds", std::time(nullptr) - created}}};
}

} // namespace ostrelctl
