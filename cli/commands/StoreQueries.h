#pragma once

// Queries that every store answers: the functions of the rows "server list", "ca
// list" and so on, and the views of their answers.

#include "commands/Stores.h"
#include "engine/Command.h"

namespace ostrelctl
{

using StoreFunction = Outcome (*)(const Invocation&, const Store&);

Outcome list(const Invocation& invocation, const Store& store);
Outcome show(const Invocation& invocation, const Store& store);
Outcome info(const Invocation& invocation, const Store& store);
Outcome record(const Invocation& invocation, const Store& store);
Outcome details(const Invocation& invocation, const Store& store);

/// The function of a row, on one store.
std::function<Outcome(const Invocation&)> on(const Store& store, StoreFunction function);

View certificateTable();
View summaryFields();

} // namespace ostrelctl
