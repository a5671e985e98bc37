#include "commands/Arguments.h"

#include "commands/StoreReader.h"

namespace ostrelctl
{

namespace
{

std::string titleOf(const std::string& service)
{
    try {
        return OstrelService(service).getServiceName();
    } catch (const std::exception&) {
        return "has a configuration that cannot be read";
    }
}

Candidates serviceCandidates(const Words& /*before*/)
{
    Candidates all;
    for (const std::string& name : OstrelService::getServiceList()) {
        all.push_back({name, titleOf(name)});
    }
    return all;
}

/// The ids of the service that the line names first.
std::function<Candidates(const Words&)> idsIn(const Store& store)
{
    return [&store](const Words& before) { return idCandidates(before.at(0), store); };
}

} // namespace

Argument serviceArgument()
{
    return {"SERVICE", Kind::Object, Arity::One, "A configured service", serviceCandidates};
}

Argument anyServices()
{
    return {"SERVICE", Kind::Object, Arity::Any, "A configured service; without one, all services",
            serviceCandidates};
}

Argument idOf(const Store& store, Arity arity)
{
    return {"ID", Kind::Object, arity, "The id of a certificate, or the start of it", idsIn(store)};
}

Argument ownId()
{
    return {"ID", Kind::Object, Arity::Optional,
            "The id of the certificate; without it, the active one", idsIn(serverStore)};
}

Argument pemFile()
{
    return {"FILE", Kind::File, Arity::One, "A PEM file, or - for the standard input"};
}

Argument pemFiles()
{
    return {"FILE", Kind::File, Arity::AtLeastOne,
            "A PEM file of certificates, or - for the standard input"};
}

Candidates idCandidates(const std::string& service, const Store& store, const std::string& prefix)
{
    OstrelService object(service);
    Candidates all;
    for (const Entry& entry : entriesOf(service, store, idsOf(object, service, store))) {
        all.push_back({prefix + entry.id, entry.commonName});
    }
    return all;
}

} // namespace ostrelctl
