#pragma once

namespace ostrelApi
{

/// What an application may ask of a signing request beyond the service's
/// configuration. A value.
struct ConfiguredField {
    /// Ask for a request that complies with the profile "CA-CB_compliant".
    bool isCaCbCompliant;
};

} // namespace ostrelApi
