#pragma once

#include <ostrel/Export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace ostrel
{

/// The store of a service that a command addresses.
enum TypeTarget : std::int32_t {
    TargetServer = 0,
    TargetCA = 1,
    TargetClient = 2,
    TargetConfig = 3,
    TargetNone = 4,
};

/// What a command asks for; each value stands for one keyword of the wire.
enum CommandType : std::int32_t {
    CommandReload = 0,
    CommandHelp = 1,
    CommandGetCsr = 2,
    CommandCreateCsr = 3,
    CommandCreateCrt = 4,
    CommandApplyCrt = 5,
    CommandRevoke = 6,
    CommandList = 7,
    CommandAdd = 8,
    CommandInfo = 9,
    CommandDetails = 10,
    CommandPath = 11,
    CommandGetKey = 12,
    CommandGetCert = 13,
    CommandNone = 14,
    CommandGetOverwrittenData = 15,
    CommandSetOverwrittenData = 16,
    CommandListByCN = 17,
    CommandStatus = 18,
    CommandGetCsrInfo = 19,
    CommandGetCertInfo = 20,
    CommandGetCsrTimestamp = 21,
};

/// One request to the daemon, a value. On the wire it is a single text without
/// terminator, its fields separated by one tab each:
///
///     user TAB pid TAB target TAB keyword [TAB argument]...
///
/// Arguments are written as they are: one that holds a tab becomes two.
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

    /// Reads a message. Throws std::runtime_error, "Bad format for command."
    /// and what follows it, when the message has fewer than four fields, an
    /// unknown target, an unknown keyword, or arguments or a target that the
    /// keyword does not take.
    explicit Commands(const std::string& message);

    /// The target that a word names: "server", "ca", "client" or "config";
    /// TargetNone for any other word.
    TypeTarget identifyTarget(const std::string& word);

    /// The text for the wire. A target or a command without a word of its own
    /// leaves its field empty.
    std::string toMessage() const;

    std::string user;
    std::string pid;
    TypeTarget target = TargetNone;
    CommandType command = CommandNone;
    std::vector<std::string> arguments;
};

} // namespace ostrel
