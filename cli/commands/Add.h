#pragma once

#include "commands/Stores.h"
#include "engine/Context.h"

namespace ostrelctl
{

/// Adds certificates to a store. Each one is sent by itself, so the daemon's
/// refusal of one does not keep out the others.
Outcome add(Context& context, const Store& store);

/// One row for each certificate: added, refused, ...
View additionTable();

} // namespace ostrelctl
