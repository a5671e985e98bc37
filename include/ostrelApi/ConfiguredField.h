#pragma once

namespace ostrelApi
{

/// Options of a signing request beyond the service's configuration, for
/// OstrelService::createServerCsr(). A value: it owns nothing, waits for nothing
/// and throws nothing, and several threads may read one object at once.
///
///     web.createServerCsr(ostrelApi::ConfiguredField{true});
struct ConfiguredField {
    /// Whether the request must comply with the profile "CA-CB_compliant".
    bool isCaCbCompliant;
};

} // namespace ostrelApi
