#pragma once

// The daemon's descriptions as JSON.

#include "Json.h"

#include <ostrl/CCSRData.h>
#include <ostrl/CCertificateData.h>

namespace ostrelctl
{

Json jsonOf(const ostrl::CCertificateData& certificate);
Json jsonOf(const ostrl::CCSRData& request);

} // namespace ostrelctl
