#pragma once

// Values of the library as JSON.

#include "commands/StoreReader.h"
#include "engine/Json.h"

#include <ostrl/CCSRData.h>
#include <ostrl/CCertificateData.h>

namespace ostrelctl
{

/// {"id", "commonName", "validUntil", "daysLeft"}.
Json jsonOf(const Entry& entry);

/// An array of them.
Json jsonOf(const std::vector<Entry>& entries);

/// The numbered keys become lists, "yes" and "no" booleans.
Json jsonOf(const Summary& summary);

Json jsonOf(const ostrl::CCertificateData& certificate);
Json jsonOf(const ostrl::CCSRData& request);

} // namespace ostrelctl
