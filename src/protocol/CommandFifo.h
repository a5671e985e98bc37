#pragma once

// How a caller opens the command FIFO of a service.
//
// The members of the managment group can create files in the service's directory, so
// while no daemon runs, a file of that name may be anything: a link to a file of another
// user, or a FIFO that one of them reads. A caller writes into neither.

#include "protocol/Transport.h"
#include "tools/Descriptor.h"

#include <string>

#include <sys/types.h>

namespace ostrelApi
{

/// Opens the command FIFO for writing.
///
/// Blocks until a daemon has the FIFO open for reading. A running daemon always has, so
/// this waits only after a daemon was killed, and the call then goes on with the next
/// daemon. A daemon that stops normally removes the FIFO, and the call fails at once.
///
/// Throws CallError: DaemonOff (11) when the FIFO does not exist, otherwise ActionFailed
/// (1), with the text of EACCES for a link and for a file of a user who is not trusted.
[[nodiscard]] ostrel::Descriptor openCommandFifo(const ServicePipes& pipes);

/// Whether a caller writes into a file of `owner`: of root, of the user who owns the
/// service's directory, or of the user that `daemonUser` names. A name that the user
/// database does not have stands for nobody, and so does a null pointer.
[[nodiscard]] bool isTrustedOwner(uid_t owner, uid_t directoryOwner, std::string (*daemonUser)());

} // namespace ostrelApi
