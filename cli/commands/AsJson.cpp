#include "commands/AsJson.h"

#include "commands/Times.h"

#include <nlohmann/json.hpp>

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

Json jsonOf(const Entry& entry)
{
    Json json = {{"id", entry.id},
                 {"commonName", entry.commonName},
                 {"validUntil", nullptr},
                 {"daysLeft", nullptr}};
    if (entry.validUntil) {
        json["validUntil"] = timeText(*entry.validUntil);
        json["daysLeft"] = daysUntil(*entry.validUntil);
    }
    return json;
}

Json jsonOf(const std::vector<Entry>& entries)
{
    Json rows = Json::array();
    for (const Entry& entry : entries) {
        rows.push_back(jsonOf(entry));
    }
    return rows;
}

Json jsonOf(const Summary& summary)
{
    Json json = {{"addresses", Json::array()}, {"hostNames", Json::array()}};
    for (const auto& [name, value] : summary) {
        if (name.rfind("IP.", 0) == 0) {
            json["addresses"].push_back(value);
        } else if (name.rfind("DNS.", 0) == 0) {
            json["hostNames"].push_back(value);
        } else if (name.rfind("valid", 0) == 0) {
            json[name] = timeText(std::stoll(value));
        } else if (name.rfind("issued", 0) == 0) {
            json[name] = value;
        } else {
            json[name] = value == "yes";
        }
    }
    json["daysLeft"] = daysUntil(std::stoll(summary.at("validUntil")));
    return json;
}

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
