#include "Stores.h"
#include "Views.h"
#include "Work.h"

#include <algorithm>

namespace ostrelctl
{

namespace
{

const Argument serviceArgument = {"SERVICE", Kind::Service, Arity::One, "A configured service"};
const Argument anyServices = {"SERVICE", Kind::Service, Arity::Any,
                              "A configured service; all of them when none is given"};
const Argument oneId = {"ID", Kind::Id, Arity::One, "A certificate's id, or the start of one"};
const Argument someIds = {"ID", Kind::Id, Arity::AtLeastOne,
                          "A certificate's id, or the start of one"};
const Argument anyIds = {"ID", Kind::Id, Arity::Any, "A certificate's id, or the start of one"};
const Argument ownId = {"ID", Kind::OwnId, Arity::Optional,
                        "The certificate's id; the one in use when it is not given"};
const Argument oneFile = {"FILE", Kind::File, Arity::One,
                          "A PEM file, or - for the standard input"};
const Argument someFiles = {"FILE", Kind::File, Arity::AtLeastOne,
                            "A PEM file of one or more certificates, or - for the standard input"};
const Argument certificate = {"CERTIFICATE", Kind::Certificate, Arity::One,
                              "server, ca/ID or client/ID"};
const Argument oneKey = {"KEY", Kind::Key, Arity::One, "Letters, digits, - and _"};

// Rows, not steps: they may be many.
// NOLINTBEGIN(readability-function-size)
std::vector<Command> generalCommands()
{
    return {
        {"services",
         {},
         {},
         "Show the services, their stores and what ends next",
         "getServiceList getServiceName hasServer hasCA maxCA hasTrustedClient maxTrustedClient",
         listServices,
         serviceTable()},
        {"status",
         {serviceArgument},
         {},
         "Ask the daemon whether it serves a service",
         "isServiceRunning getHealthStatus getOperatingStatus",
         tellStatus,
         serviceFields()},
        {"reload",
         {serviceArgument},
         {},
         "Have the daemon read a service's configuration again",
         "reloadService",
         reload,
         sentence("{/service}: configuration read again")},
        {"expiry",
         {anyServices},
         {{"--within", "DAYS", "Only what ends within so many days", "", "number"}},
         "Show all certificates by the days that are left",
         "getServiceList",
         tellExpiry,
         expiryTable()},
        {"check-renewal",
         {anyServices},
         {{"--within", "DAYS", "Due is what ends within so many days", "30", "number"}},
         "Tell by the exit status whether a server certificate is due to be renewed",
         "getServerCertificateList",
         checkRenewal,
         renewalTable()},
        {"notify network",
         {},
         {},
         "Tell the daemon that the device's network changed",
         "notifyNetwork sendNotification",
         notifyNetwork,
         sentence("the daemon was told: {/notified}")},
        {"notify time",
         {},
         {},
         "Tell the daemon that the device's clock was set",
         "notifyTime sendNotification",
         notifyTime,
         sentence("the daemon was told: {/notified}")},
        {"send",
         {serviceArgument,
          {"TARGET", Kind::Target, Arity::One, "server, ca, client or config"},
          {"KEYWORD", Kind::Text, Arity::One, "A command of the daemon: help names them"},
          {"ARGUMENT", Kind::Text, Arity::Any, "What the command takes"}},
         {},
         "Send the daemon any command of its own and show the answer",
         "sendCommandToServer",
         send,
         texts("", "/payload")},
    };
}

std::vector<Command> overrideCommands()
{
    const std::string api = "getServerCertificateOverwrittenData getCAOverwrittenData "
                            "getTrustedClientOverwrittenData";
    const View all = {View::Members, "/overrides"};
    return {
        {"override get",
         {serviceArgument, certificate, {"KEY", Kind::Key, Arity::Optional, "One of them alone"}},
         {},
         "Show what applications have attached to a certificate",
         api,
         getOverrides,
         all},
        {"override set",
         {serviceArgument,
          certificate,
          oneKey,
          {"VALUE", Kind::Text, Arity::One, "Any text of one line"}},
         {},
         "Attach a value to a certificate",
         api,
         setOverride,
         all},
        {"override unset",
         {serviceArgument, certificate, oneKey},
         {},
         "Take a value from a certificate",
         api,
         unsetOverride,
         all},
    };
}

/// The commands of a store that is filled from outside.
std::vector<Command> externalCommands(const Store& store)
{
    const std::string word = store.word;
    const std::string get = std::string("get") + store.name;
    const std::string name = store.name;
    return {
        {word + " list",
         {serviceArgument},
         {{"--cn", "NAME", "Only those of this common name, to the letter"}},
         "List the certificates",
         get + "List " + get + "ListByCN",
         list,
         certificateTable(),
         &store},
        {word + " show",
         {serviceArgument, someIds},
         {},
         "Print certificates as PEM",
         get,
         show,
         texts("/certificates", "/pem"),
         &store},
        {word + " info",
         {serviceArgument, oneId},
         {},
         "Show the summary of a certificate",
         get + "Info",
         info,
         summaryFields(),
         &store},
        {word + " record",
         {serviceArgument, oneId},
         {},
         "Ask the daemon for everything that a certificate says",
         get + "CertInfo",
         record,
         {View::Members, "/record"},
         &store},
        {word + " details",
         {serviceArgument, someIds},
         {},
         "Print the full text of certificates",
         get + "Details",
         details,
         texts("/certificates", "/details"),
         &store},
        {word + " path",
         {serviceArgument, anyIds},
         {},
         "Print the files of certificates, or their directory",
         get + "Directory",
         path,
         lines("/paths", "/path"),
         &store},
        {word + " find",
         {serviceArgument, oneFile},
         {},
         "Print the ids of certificates that are given as PEM",
         "getId" + name + " getId" + name + "Path",
         find,
         lines("/certificates", "/id"),
         &store},
        {word + " add",
         {serviceArgument, someFiles},
         {},
         "Add certificates",
         "importCertificate add" + name + " add" + name + "File",
         add,
         importTable(),
         &store},
        {word + " revoke",
         {serviceArgument, anyIds},
         {},
         "Revoke certificates",
         "revoke" + name,
         revoke,
         sentence("{/count} revoked"),
         &store},
    };
}

std::vector<Command> serverCommands()
{
    const Store* store = &serverStore;
    View summary = summaryFields();
    summary.columns.push_back({"key in TPM", "/summary/keyInTpm", Style::YesNo});
    return {
        {"server list",
         {serviceArgument},
         {},
         "List the certificate in use",
         "getServerCertificateList getServerActiveCertificateId",
         list,
         certificateTable(),
         store},
        {"server show",
         {serviceArgument, ownId},
         {},
         "Print the certificate as PEM",
         "getServerCertificate",
         show,
         texts("/certificates", "/pem"),
         store},
        {"server info",
         {serviceArgument, ownId},
         {},
         "Show the summary of the certificate",
         "getServerCertificateInfo isServerKeyInTPM",
         info,
         summary,
         store},
        {"server record",
         {serviceArgument},
         {},
         "Ask the daemon for everything that the certificate says",
         "getServerCertInfo",
         record,
         {View::Members, "/record"},
         store},
        {"server details",
         {serviceArgument, ownId},
         {},
         "Print the full text of the certificate",
         "getServerCertificateDetails",
         details,
         texts("/certificates", "/details"),
         store},
        {"server path",
         {serviceArgument, ownId},
         {},
         "Print the file of the certificate",
         "getServerCertificatePath",
         serverPath,
         lines("", "/path"),
         store},
        {"server key",
         {serviceArgument, ownId},
         {},
         "Print the private key as PEM",
         "getServerKey",
         key,
         texts("", "/key"),
         store},
        {"server apply",
         {serviceArgument, oneFile},
         {},
         "Put the certificate that answers the pending request to use",
         "importCertificate applyServerCertificate applyServerCertificateFile",
         apply,
         sentence("{/id} is in use"),
         store},
        {"server revoke",
         {serviceArgument},
         {},
         "Revoke the certificate in use",
         "revokeServerCertificate",
         revokeServer,
         sentence("revoked: {/revoked}"),
         store},
        {"server csr",
         {serviceArgument},
         {},
         "Print the pending request, as server csr show",
         "getServerCsr",
         showRequest,
         texts("", "/csr"),
         store},
        {"server csr create",
         {serviceArgument},
         {{"--compliant", nullptr, "One that complies with CA-CB_compliant"}},
         "Make a key and a signing request",
         "createServerCsr",
         createRequest,
         sentence("{/service}: a request is pending"),
         store},
        {"server csr show",
         {serviceArgument},
         {},
         "Print the pending request as PEM",
         "getServerCsr",
         showRequest,
         texts("", "/csr"),
         store},
        {"server csr info",
         {serviceArgument},
         {},
         "Ask the daemon for everything that the pending request says",
         "getCsrInfo",
         describeRequest,
         {View::Members, "/record"},
         store},
        {"server csr age",
         {serviceArgument},
         {},
         "Print the age of the pending request in seconds",
         "getServerCsrTimestamp",
         tellRequestAge,
         lines("", "/seconds"),
         store},
    };
}

// NOLINTEND(readability-function-size)

std::vector<Command> allCommands()
{
    std::vector<Command> all;
    for (auto part : {generalCommands(), serverCommands(), externalCommands(caStore),
                      externalCommands(clientStore), overrideCommands()}) {
        std::move(part.begin(), part.end(), std::back_inserter(all));
    }
    return all;
}

} // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = allCommands();
    return all;
}

const std::vector<Group>& groups()
{
    static const std::vector<Group> all = {
        {"server", "A service's own certificate and its key"},
        {"server csr", "The signing request for the next one"},
        {"ca", "The certificate authorities that a service trusts"},
        {"client", "The clients that a service trusts"},
        {"override", "What applications attach to a certificate"},
        {"notify", "What the daemon is told of the device"},
    };
    return all;
}

const std::vector<Option>& globalOptions()
{
    static const std::vector<Option> all = {
        {"--json", nullptr, "Answer with one JSON object, also to an error"},
        {"--color", "WHEN", "Colours: auto is on a terminal alone", "auto", "auto always never"},
        {"--timeout", "SECONDS", "Give up after so long; 0 for never", "30", "number"},
        {"--wait", "SECONDS", "Try again for so long while the service is locked", "0", "number"},
        {"--debug", nullptr, "Show the library's trace on the standard error stream"},
        {"--help", nullptr, "Show what there is, or what a command takes"},
        {"--version", nullptr, "Show the version"},
    };
    return all;
}

} // namespace ostrelctl
