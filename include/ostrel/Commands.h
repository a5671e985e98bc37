#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel
{

/// The store of a service that a command addresses. The quoted word stands for it in
/// a message.
enum TypeTarget : std::int32_t {
    TargetServer = 0, ///< "server": the service's own certificate.
    TargetCA = 1,     ///< "ca": certificate authorities.
    TargetClient = 2, ///< "client": trusted clients.
    TargetConfig = 3, ///< "config": the service itself instead of a store.
    TargetNone = 4,   ///< No target; it has no word.
};

/// The operation of a command. The quoted keyword stands for it in a message;
/// docs/PROTOCOL.md lists the arguments of each.
enum CommandType : std::int32_t {
    CommandReload = 0,              ///< "reload": read the configuration again.
    CommandHelp = 1,                ///< "help": list the commands.
    CommandGetCsr = 2,              ///< "getcsr": the pending request.
    CommandCreateCsr = 3,           ///< "createcsr": create a key and a request.
    CommandCreateCrt = 4,           ///< "createcrt": create a self-signed certificate.
    CommandApplyCrt = 5,            ///< "applycrt": use the certificate for the request.
    CommandRevoke = 6,              ///< "revoke": remove certificates.
    CommandList = 7,                ///< "list": all ids.
    CommandAdd = 8,                 ///< "add": store a certificate.
    CommandInfo = 9,                ///< "info": summary of a certificate.
    CommandDetails = 10,            ///< "details": full text of a certificate.
    CommandPath = 11,               ///< "path": path of a certificate.
    CommandGetKey = 12,             ///< "getkey": the private key.
    CommandGetCert = 13,            ///< "getcert": a certificate.
    CommandNone = 14,               ///< No command; it has no keyword.
    CommandGetOverwrittenData = 15, ///< "getOverwrittenData": overrides.
    CommandSetOverwrittenData = 16, ///< "setOverwrittenData": change an override.
    CommandListByCN = 17,           ///< "listByCN": ids with a common name.
    CommandStatus = 18,             ///< "status": whether the service runs.
    CommandGetCsrInfo = 19,         ///< "getcsrinfo": a CCSRData record.
    CommandGetCertInfo = 20,        ///< "getcertinfo": a CCertificateData record.
    CommandGetCsrTimestamp = 21,    ///< "getcsrtimestamp": when the request was created.
};

/// One request to the daemon. Callers of OstrelService::sendCommandToServer() fill
/// it, and the daemon reads it. A value: copies are independent. Its message is one
/// text whose fields are separated by tabs:
///
///     user TAB pid TAB target TAB keyword [TAB argument]...
///
/// Arguments are not quoted: an argument that contains a tab becomes two, and a
/// reader loses an empty last argument. docs/PROTOCOL.md shows the bytes and the
/// arguments of each keyword.
///
/// Threads: several threads may read one object at once; a change needs exclusive
/// access. Blocking: waits for nothing. Errors: as each function says; any may throw
/// std::bad_alloc.
///
///     ostrel::Commands command;
///     command.target = ostrel::TargetCA;
///     command.command = ostrel::CommandRevoke;
///     command.arguments = {id};
class OSTREL_API Commands
{
public:
    /// Empty user and pid, no target, no command, no arguments.
    Commands() = default;

    /// Parses a message. Throws std::runtime_error when the message has fewer than
    /// four fields, an unknown target, an unknown keyword, or a target or a number
    /// of arguments that the keyword does not take. The text names the reason.
    Commands(const std::string& message);

    /// The target that a word names: "server", "ca", "client" or "config";
    /// TargetNone for any other word.
    TypeTarget identifyTarget(const std::string& word);

    /// The message. A target or a command without a word leaves its field empty.
    std::string toMessage() const;

    std::string user;                   ///< Name of the caller's user.
    std::string pid;                    ///< The caller's process id, in decimal.
    TypeTarget target = TargetNone;     ///< The addressed store.
    CommandType command = CommandNone;  ///< The operation.
    std::vector<std::string> arguments; ///< The arguments of the keyword, in order.
};

} // namespace ostrel
