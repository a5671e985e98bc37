#pragma once

#include <ostrel/ExternalCertificatesAccessor.h>
#include <ostrelApi/OstrelService.h>

#include "api/Steps.h"

namespace ostrelApi
{

/// The differences between the CA store and the trusted-client store. The operations of
/// both are one implementation that gets one of these.
struct OstrelService::ExternalStore {
    const ostrel::ExternalCertificatesAccessor& accessor;
    ostrel::TypeTarget target;
    /// The outcome when a certificate does not exist or is not revoked.
    ReturnCode badCertificate;
    /// The word for one of its certificates in the debug trace.
    const char* name;
};

} // namespace ostrelApi
