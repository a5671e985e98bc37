#pragma once

#include "commands/Stores.h"
#include "engine/Command.h"

namespace ostrelctl
{

/// Adds certificates to a store. Each one is sent by itself, so the daemon's
/// refusal of one does not keep out the others.
Outcome add(const Invocation& invocation, const Store& store);

/// One row for each certificate: added, refused, ...
View additionTable();

} // namespace ostrelctl
