#pragma once

// What the commands do; the table in Commands.cpp names each one.

#include "Command.h"

namespace ostrelctl
{

// ServiceCommands.cpp
Outcome listServices(Context& context);
Outcome tellStatus(Context& context);
Outcome reload(Context& context);
Outcome send(Context& context);
Outcome notifyNetwork(Context& context);
Outcome notifyTime(Context& context);

// StoreCommands.cpp, of every store
Outcome list(Context& context);
Outcome show(Context& context);
Outcome info(Context& context);
Outcome record(Context& context);
Outcome details(Context& context);
Outcome path(Context& context);
Outcome find(Context& context);
Outcome revoke(Context& context);

// AddCommand.cpp
Outcome add(Context& context);

// ServerCommands.cpp
Outcome serverPath(Context& context);
Outcome key(Context& context);
Outcome apply(Context& context);
Outcome revokeServer(Context& context);
Outcome createRequest(Context& context);
Outcome showRequest(Context& context);
Outcome describeRequest(Context& context);
Outcome tellRequestAge(Context& context);

// OverrideCommands.cpp
Outcome getOverrides(Context& context);
Outcome setOverride(Context& context);
Outcome unsetOverride(Context& context);

// ExpiryCommands.cpp
Outcome tellExpiry(Context& context);
Outcome checkRenewal(Context& context);

} // namespace ostrelctl
