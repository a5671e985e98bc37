#include "Records.h"

#include "Survey.h"

namespace ostrelctl
{

namespace
{

std::string textOf(const ostrl::CDistinguishedName& name)
{
    std::string text;
    name.to(text);
    return text;
}

Json extensionsOf(const std::vector<ostrl::v3Ext>& extensions)
{
    Json all = Json::array();
    for (const ostrl::v3Ext& extension : extensions) {
        all.push_back({{"oid", extension.obj_id},
                       {"name", extension.short_name},
                       {"longName", extension.long_name},
                       {"value", extension.comment}});
    }
    return all;
}

} // namespace

Json jsonOf(const ostrl::CCertificateData& certificate)
{
    return {{"subject", textOf(certificate.subjectName)},
            {"issuer", textOf(certificate.issuerName)},
            {"serial", certificate.certSerial},
            {"version", certificate.certVersion},
            {"validFrom", timeText(static_cast<std::int64_t>(certificate.validNotBeforeDate))},
            {"validUntil", timeText(static_cast<std::int64_t>(certificate.validNotAfterDate))},
            {"validityDays", certificate.validityDays},
            {"keyType", certificate.publicKeyType},
            {"keyBits", certificate.publicKeySizeBits},
            {"signatureAlgorithm", certificate.signatureAlgorithmType},
            {"publicKey", certificate.publicKey},
            {"extensions", extensionsOf(certificate.v3Extensions)}};
}

Json jsonOf(const ostrl::CCSRData& request)
{
    return {{"subject", textOf(request.subjectName)},
            {"version", request.csrVersion},
            {"keyType", request.publicKeyType},
            {"keyBits", request.publicKeySizeBits},
            {"signatureAlgorithm", request.signatureAlgorithmType},
            {"extensions", extensionsOf(request.v3Extensions)}};
}

} // namespace ostrelctl
