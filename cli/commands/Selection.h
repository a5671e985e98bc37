#pragma once

#include "commands/Stores.h"
#include "engine/Command.h"

namespace ostrelctl
{

/// The certificates that a command line names, by their whole ids.
class Selection
{
public:
    Selection(const Invocation& invocation, const Store& store);

    OstrelService& service() { return m_service; }
    const Ids& ids() const { return m_ids; }

private:
    OstrelService m_service;
    Ids m_ids;
};

/// The ids of a store, as the library lists them: a service without a certificate
/// of its own has no ids, but a missing list of CAs or clients is a failure.
Ids listedIds(OstrelService& service, const std::string& name, const Store& store);

} // namespace ostrelctl
