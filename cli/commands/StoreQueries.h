#pragma once

// Queries that every store answers: the functions of the rows "server list", "ca
// list" and so on, and the views of their answers.

#include "commands/Stores.h"
#include "engine/Context.h"

namespace ostrelctl
{

using StoreFunction = Outcome (*)(Context&, const Store&);

Outcome list(Context& context, const Store& store);
Outcome show(Context& context, const Store& store);
Outcome info(Context& context, const Store& store);
Outcome record(Context& context, const Store& store);
Outcome details(Context& context, const Store& store);

/// The function of a row, on one store.
std::function<Outcome(Context&)> on(const Store& store, StoreFunction function);

View certificateTable();
View summaryFields();

} // namespace ostrelctl
