#pragma once

#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrelApi/OstrelService.h>

#include "api/Steps.h"

namespace ostrelApi
{

/// What the CA store and the trusted-client store differ in. Their operations
/// are one implementation that reads a row of this.
struct OstrelService::ExternalStore {
    const ostrel::ExternalCertificatesAccessor& accessor;
    ostrel::TypeTarget target;
    /// Said of a certificate that is missing or could not be revoked.
    ReturnCode badCertificate;
    /// What the debug trace calls one of its certificates.
    const char* name;
};

} // namespace ostrelApi
