#include "x509/Identity.h"

#include "x509/Key.h"
#include "x509/Network.h"
#include "x509/RequestProfile.h"

namespace ostreld
{

Identity makeRequest(const ostrel::ServiceConfiguration& service,
                     const std::string& configurationText, bool isCompliant)
{
    RequestProfile profile(service, configurationText);
    if (isCompliant) {
        profile.makeCompliant();
    }
    const Key key = Key::generate(profile.keyKind());
    return {key.pem(), profile.request(key), networkText(profile.networkNames())};
}

Identity makeSelfSigned(const ostrel::ServiceConfiguration& service,
                        const std::string& configurationText, std::uint32_t days)
{
    const RequestProfile profile(service, configurationText);
    const Key key = Key::generate(profile.keyKind());
    return {key.pem(), profile.selfSigned(key, days), networkText(profile.networkNames())};
}

} // namespace ostreld
