#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel
{

/// The store of a service that a command addresses.
enum TypeTarget : std::int32_t {
    TargetServer = 0, ///< "server": the service's own certificate.
    TargetCA = 1,     ///< "ca": certificate authorities.
    TargetClient = 2, ///< "client": trusted clients.
    TargetConfig = 3, ///< "config": no store, but the service itself.
    TargetNone = 4,   ///< None; no word stands for it.
};

/// What a command asks for; each value stands for one keyword of the wire.
enum CommandType : std::int32_t {
    CommandReload = 0,              ///< "reload": read the configuration again.
    CommandHelp = 1,                ///< "help": list the commands.
    CommandGetCsr = 2,              ///< "getcsr": the pending request.
    CommandCreateCsr = 3,           ///< "createcsr": make a key and a request.
    CommandCreateCrt = 4,           ///< "createcrt": make a self-signed certificate.
    CommandApplyCrt = 5,            ///< "applycrt": take the answer to the request.
    CommandRevoke = 6,              ///< "revoke": remove certificates.
    CommandList = 7,                ///< "list": all ids.
    CommandAdd = 8,                 ///< "add": take a certificate.
    CommandInfo = 9,                ///< "info": summary of a certificate.
    CommandDetails = 10,            ///< "details": full text of a certificate.
    CommandPath = 11,               ///< "path": path of a certificate.
    CommandGetKey = 12,             ///< "getkey": the private key.
    CommandGetCert = 13,            ///< "getcert": a certificate.
    CommandNone = 14,               ///< None; no keyword stands for it.
    CommandGetOverwrittenData = 15, ///< "getOverwrittenData": overrides.
    CommandSetOverwrittenData = 16, ///< "setOverwrittenData": change one.
    CommandListByCN = 17,           ///< "listByCN": ids with a common name.
    CommandStatus = 18,             ///< "status": whether the service runs.
    CommandGetCsrInfo = 19,         ///< "getcsrinfo": a CCSRData record.
    CommandGetCertInfo = 20,        ///< "getcertinfo": a CCertificateData record.
    CommandGetCsrTimestamp = 21,    ///< "getcsrtimestamp": when it was made.
};

/// One request to the daemon, a value. On the wire it is a single text without
/// terminator, its fields separated by one tab each:
///
///     user TAB pid TAB target TAB keyword [TAB argument]...
///
/// Arguments are written as they are: one that holds a tab becomes two, and an
/// empty last one is lost when the text is read. What each keyword takes is in
/// docs/PROTOCOL.md.
///
/// Threads: as any value. Errors: toMessage() throws only std::bad_alloc.
///
///     ostrel::Commands command;
///     command.target = ostrel::TargetCA;
///     command.command = ostrel::CommandRevoke;
///     command.arguments = {id};
class OSTREL_API Commands
{
public:
    /// No user, no pid, no target, no command, no arguments.
    Commands() = default;

    /// Reads a message. Throws std::runtime_error, with a text that tells which,
    /// when the message has fewer than four fields, an unknown target, an unknown
    /// keyword, or arguments or a target that the keyword does not take.
    Commands(const std::string& message);

    /// The target that a word names: "server", "ca", "client" or "config";
    /// TargetNone for any other word.
    TypeTarget identifyTarget(const std::string& word);

    /// The text for the wire. A target or a command without a word of its own
    /// leaves its field empty.
    std::string toMessage() const;

    std::string user;                   ///< Name of the calling user.
    std::string pid;                    ///< Its process, as decimal text.
    TypeTarget target = TargetNone;     ///< The addressed store.
    CommandType command = CommandNone;  ///< What is asked for.
    std::vector<std::string> arguments; ///< What the keyword takes, in its order.
};

} // namespace ostrel
