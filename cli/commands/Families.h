#pragma once

// The families of commands, each in the source of its name. A source holds the
// rows with their help, and the functions that they run.
//
// To add a command: a row and its function in the source of its family, its
// answer in docs/ostrelctl.schema.json, and the manual page generated again.

#include "commands/Stores.h"
#include "engine/Command.h"

namespace ostrelctl
{

Family serviceFamily();
Family expiryFamily();
Family serverFamily();
Family overrideFamily();
Family notificationFamily();

/// Of a store that is filled from outside: CAs or trusted clients.
Family externalFamily(const Store& store);

} // namespace ostrelctl
