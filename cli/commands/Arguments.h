#pragma once

// Arguments that several families take, and what completion offers for them.

#include "commands/Stores.h"
#include "engine/Command.h"

namespace ostrelctl
{

/// SERVICE.
Argument serviceArgument();
Argument anyServices();

/// ID, of a store that is filled from outside, or of the server's own.
Argument idOf(const Store& store, Arity arity);
Argument ownId();

/// FILE.
Argument pemFile();
Argument pemFiles();

/// The ids of a service's store, each behind the prefix.
Candidates idCandidates(const std::string& service, const Store& store,
                        const std::string& prefix = {});

} // namespace ostrelctl
