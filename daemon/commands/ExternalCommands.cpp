// The commands for certificates of CAs and trusted clients.

#include "commands/Stores.h"
#include "store/StoreTexts.h"

#include <fmt/format.h>

namespace ostreld
{

using ostrel::Commands;

namespace
{

std::string joined(const std::vector<std::string>& words)
{
    return fmt::format("{}", fmt::join(words, " "));
}

} // namespace

// The store that a command addresses. It must contain the certificate of the first argument.
CertificateStore& Service::storeWith(const Commands& command)
{
    CertificateStore& store = m_stores->external(command.target);
    if (command.arguments.empty() || !store.has(command.arguments[0])) {
        throw Refusal(store.row().bad, "no such certificate");
    }
    return store;
}

// The file that a client names must be directly in the service's pipe directory.
std::string Service::importedText(const std::string& path) const
{
    const std::string directory = m_pipeDirectory + '/';
    const std::string name =
        path.compare(0, directory.size(), directory) == 0 ? path.substr(directory.size()) : "";
    if (name.empty() || name.find('/') != std::string::npos) {
        throw Refusal(AccessDenied, "not a file in the service's directory");
    }
    try {
        return readRegularFile(m_pipeDirectory, name, largestClientFile);
    } catch (const std::exception& caught) {
        throw Refusal(AccessDenied, caught.what());
    }
}

Result Service::add(const Commands& command)
{
    CertificateStore& store = m_stores->external(command.target);
    return store.add(Certificate(importedText(command.arguments[0])));
}

Result Service::revoke(const Commands& command)
{
    return joined(m_stores->external(command.target).revoke(command.arguments));
}

Result Service::list(const Commands& command)
{
    return joined(m_stores->external(command.target).ids());
}

Result Service::listByCN(const Commands& command)
{
    return joined(m_stores->external(command.target).idsByCN(command.arguments[0]));
}

Result Service::info(const Commands& command)
{
    return infoText(storeWith(command).files(), command.arguments[0]);
}

Result Service::details(const Commands& command)
{
    return storeWith(command).files().detailsText(command.arguments[0]);
}

Result Service::getCertificate(const Commands& command)
{
    return storeWith(command).files().certificateText(command.arguments[0]);
}

// The argument is a path. It must be the path of a certificate in the store.
Result Service::getCertificateInfo(const Commands& command)
{
    const CertificateStore& store = m_stores->external(command.target);
    const std::string asked = command.arguments.empty() ? "" : command.arguments[0];
    const std::string id = nameOf(asked);
    if (!store.has(id) || store.files().paths.certPath(id) != asked) {
        throw Refusal(store.row().bad, "no such certificate");
    }
    return recordText(Certificate(store.files().certificateText(id)).record());
}

Result Service::path(const Commands& command)
{
    return storeWith(command).files().paths.certPath(command.arguments[0]);
}

Result Service::getOverwrittenData(const Commands& command)
{
    return overridesText(storeWith(command).files(), command.arguments[0]);
}

Result Service::setOverwrittenData(const Commands& command)
{
    const CertificateStore& store = storeWith(command);
    store.files().setOverride(command.arguments[0], command.arguments[1], command.arguments[2]);
    return "";
}

} // namespace ostreld
